#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "deviceinstance.h"

/// The audio chip behind a device's feature-report channel: registers, RAM, the loader with its control
/// block, and the non-volatile memory with the firmware image.
///
/// The transmitter's memory is NOR flash: programming only clears bits, an erase sets one sector to 0xFF. The
/// headset's is overwritten in place. A command that is malformed, or comes before what it needs was set up,
/// is refused and the reason is kept. Not thread-safe: its device guards it.
class SimulatedChip
{
public:
    /// What the chip is built into. The sizes are in bytes.
    struct Hardware
    {
        DeviceType kind = DeviceType::Transmitter;
        int chipId = 12;
        int revision = 2;
        std::uint32_t memorySize = 0;
        std::uint32_t pageSize = 0;
        std::uint32_t sectorSize = 0; ///< 0 for the headset
        int configBits = 0;
    };

    /// The hardware that an image announces in its first two bytes.
    static Hardware hardwareFor(DeviceType kind, int chipId, int revision,
                                const std::vector<std::uint8_t>& image);

    /// @param image  what the memory holds; the rest is erased.
    SimulatedChip(const Hardware& chipHardware, const std::vector<std::uint8_t>& image);

    /// RAM and control block lose their content.
    void powerUp();

    /// Whether the loader runs, which takes data packets, commits and erases, instead of the application.
    void setProgrammingMode(bool programming) { isProgramming = programming; }

    void setWrongIdentity(bool wrong) { hasWrongIdentity = wrong; }

    /// Takes a report. @return the code of a control request, 0 for anything else.
    int receive(const std::uint8_t* report, std::size_t size);

    /// The answer to the last memory-read request, or "no data".
    std::vector<std::uint8_t> answer(std::size_t size);

    const Hardware& hardware() const { return built; }
    const std::vector<std::uint8_t>& memory() const { return flash; }
    const std::vector<std::string>& refusals() const { return refused; }

private:
    void receiveData(const std::uint8_t* report, std::size_t size);
    void receiveCommand(const std::uint8_t* payload, std::size_t size);
    void writeRam(std::uint16_t address, const std::uint8_t* data, std::size_t size);
    void load();
    void commit();
    void erase();
    bool isLoaderSetUp(const char* operation);
    void refuse(std::string reason);
    std::uint32_t field(int offset, int bytes) const;
    std::uint16_t smData() const;
    std::uint16_t ramBase() const;

    const Hardware built;
    std::vector<std::uint8_t> ram;
    std::vector<std::uint8_t> flash;
    std::vector<std::uint8_t> prepared; ///< the bytes asked for
    bool isProgramming = false;
    bool hasWrongIdentity = false;
    std::vector<std::string> refused;
};
