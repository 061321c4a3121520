#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "deviceinstance.h"

/// The phases of an update as a device sees them, in their order.
enum class Phase { Leave, Identify, Configure, Erase, Download, Commit, FinalWait };
constexpr int phaseCount = 7;

const char* phaseName(Phase phase);

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

    /// A report as the chip understands it.
    struct Command
    {
        enum Kind { Refused, ControlRequest, DataPacket, Read, Write, Load, Commit, Erase };
        Kind kind = Refused;
        std::optional<Phase> phase;          ///< nothing where the report belongs to no phase in particular
        const char* refusal = nullptr;       ///< why it is refused
        int request = 0;                     ///< the code of a control request
        std::uint16_t address = 0;           ///< of reads and writes; a data packet's offset in the chunk
        const std::uint8_t* bytes = nullptr; ///< what is written; points into the report
        std::size_t count = 0;               ///< of the bytes to write or to read
    };
    static Command understand(const std::uint8_t* report, std::size_t size);

    /// Carries a command out, except a control request, which is the device's business.
    void obey(const Command& command);

    /// The answer to the last memory-read request, or "no data".
    std::vector<std::uint8_t> answer(std::size_t size);

    const Hardware& hardware() const { return built; }
    const std::vector<std::uint8_t>& memory() const { return flash; }
    const std::vector<std::string>& refusals() const { return refused; }

private:
    void takeData(const Command& packet);
    void read(std::uint16_t address, std::size_t count);
    void writeRam(std::uint16_t address, const std::uint8_t* data, std::size_t size);
    void load();
    void commit();
    void erase();
    bool isLoaderSetUp(const char* operation);
    bool arePinsSet() const;
    bool isGeometrySet() const;
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
