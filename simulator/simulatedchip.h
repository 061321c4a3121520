#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "deviceinstance.h"
#include "phase.h"

/// The audio chip behind a device's feature-report channel: registers, RAM, the loader with its control
/// block, and the non-volatile memory with the firmware image.
///
/// The transmitter's memory is NOR flash: programming only clears bits, and an erase sets one sector to 0xFF.
/// The headset's memory is overwritten in place. The chip refuses malformed commands and commands whose
/// set-up is missing, and records the reason. Not thread-safe; the device guards the chip with a lock.
class SimulatedChip
{
public:
    static constexpr std::uint8_t commandReportId = 0xFF;
    static constexpr std::uint8_t dataReportId = 0xE4;
    static constexpr int leaveApplication = 0x0A;  ///< control request that starts programming mode
    static constexpr int endOfProgramming = 0x05;  ///< control request that ends programming mode
    static constexpr std::size_t statusOffset = 1; ///< offset of the status in an answer
    static constexpr std::uint8_t noData = 0x01;   ///< status of an answer without data

    /// A chip that the simulator knows. The list `models()` is not taken from the updater's table, so that
    /// tests can compare the list with the table.
    struct Model
    {
        int chipId;                     ///< value of the identifier register
        int revision;                   ///< value of the revision register
        std::uint16_t controlBlock;     ///< address of the loader's control block
        std::uint16_t downloadBuffer;   ///< address of the buffer for downloads
        std::uint16_t loadBuffer;       ///< address of the buffer for reading image bytes
        bool needsPatch;                ///< the loader works only after a write to the patch register
        std::uint16_t headsetPins;      ///< address of the register that connects the headset's memory
        std::uint8_t headsetPinSetting; ///< value of this register that connects the memory
    };
    static const std::vector<Model>& models();
    static const Model* modelOf(int chipId, int revision); ///< null if the simulator does not know the chip

    /// The memory that an image announces in its first two bytes. Sizes are in bytes. A size that is not
    /// announced is 0, except for the transmitter's page size, which is then 1.
    struct Geometry
    {
        std::uint32_t memorySize = 0;
        std::uint32_t pageSize = 0;
        std::uint32_t sectorSize = 0; ///< 0 for the headset
        std::uint32_t configBits = 0;
    };
    static Geometry geometryOf(DeviceType device, const std::vector<std::uint8_t>& image);

    /// A chip that is not among `models()` answers reads and refuses everything that needs its loader.
    /// @param device  the device that contains the chip.
    /// @param image   the image at the start of the memory. It announces the memory's size. The rest of the
    ///                memory is erased.
    SimulatedChip(DeviceType device, int chipId, int revision, const std::vector<std::uint8_t>& image);

    /// Starts the chip. The RAM and the control block lose their contents.
    /// @param inLoader  whether the loader runs instead of the application. Only the loader accepts data
    ///                  packets, commits and erases.
    void powerUp(bool inLoader);

    void setWrongIdentity(bool wrong) { hasWrongIdentity = wrong; }

    /// A report as the chip understands it.
    struct Command
    {
        std::optional<Phase> phase;    ///< empty if the report belongs to no particular phase
        int controlRequest = 0;        ///< code of the control request for the device; 0 if there is none
        std::function<void()> execute; ///< executes or refuses the command; call it while the report exists
    };
    Command understand(const std::uint8_t* report, std::size_t size);

    /// @return the answer to the latest memory-read request. If no request waits for an answer, the status of
    /// the answer is "no data".
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

    const DeviceType type;
    const int id;
    const int revision;
    const Model* const model; ///< null if the chip is unknown
    const Geometry geometry;
    std::vector<std::uint8_t> ram;
    std::vector<std::uint8_t> flash;
    std::vector<std::uint8_t> prepared; ///< data of the next answer
    bool isProgramming = false;
    bool hasWrongIdentity = false;
    std::vector<std::string> refused;
};
