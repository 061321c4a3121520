#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "deviceinstance.h"

/// The phases of an update as a device sees them, in their order.
enum class Phase { Leave, Identify, Configure, Erase, Download, Commit, FinalWait };

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
    static constexpr std::uint8_t commandReportId = 0xFF;
    static constexpr std::uint8_t dataReportId = 0xE4;
    static constexpr int leaveApplication = 0x0A; ///< a control request, like the next
    static constexpr int endOfProgramming = 0x05;
    static constexpr std::size_t statusOffset = 1; ///< in an answer
    static constexpr std::uint8_t noData = 0x01;   ///< the status where nothing is prepared

    /// The memory that an image announces in its first two bytes, the sizes in bytes; all 0 where they lack.
    struct Geometry
    {
        std::uint32_t memorySize = 0;
        std::uint32_t pageSize = 0;
        std::uint32_t sectorSize = 0; ///< 0 for the headset
        std::uint32_t configBits = 0;
    };
    static Geometry geometryOf(DeviceType device, const std::vector<std::uint8_t>& image);

    /// @param device  which the chip is built into, with the memory that @p image announces.
    /// @param image   what the memory holds; the rest is erased.
    SimulatedChip(DeviceType device, int chipId, int revision, const std::vector<std::uint8_t>& image);

    /// RAM and control block lose their content.
    /// @param inLoader  whether the loader runs from then on, which takes data packets, commits and erases,
    ///                  instead of the application.
    void powerUp(bool inLoader);

    void setWrongIdentity(bool wrong) { hasWrongIdentity = wrong; }

    /// A report as the chip understands it.
    struct Command
    {
        std::optional<Phase> phase; ///< nothing where the report belongs to no phase in particular
        int controlRequest = 0;     ///< its code, for the device, whose business it is; 0: none
        std::function<void()> obey; ///< carries the command out, or refuses it; reads the report
    };
    Command understand(const std::uint8_t* report, std::size_t size);

    /// The answer to the last memory-read request, or "no data".
    std::vector<std::uint8_t> answer(std::size_t size);

    DeviceType device() const { return type; }
    const std::vector<std::uint8_t>& memory() const { return flash; }
    const std::vector<std::string>& refusals() const { return refused; }

private:
    Command refusal(const char* reason);
    Command understandOperation(const std::uint8_t* payload, std::size_t size);
    void takeData(const std::uint8_t* report, std::size_t size);
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

    const DeviceType type;
    const int chip;
    const int revision;
    const Geometry geometry;
    std::vector<std::uint8_t> ram;
    std::vector<std::uint8_t> flash;
    std::vector<std::uint8_t> prepared; ///< the bytes asked for
    bool isProgramming = false;
    bool hasWrongIdentity = false;
    std::vector<std::string> refused;
};
