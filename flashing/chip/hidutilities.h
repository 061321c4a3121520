#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <vector>

class AbstractHidDevice;
struct ChipModel;

/// The commands to the audio chips: 64-byte feature reports on the vendor-defined HID interface.
///
/// Every operation blocks the calling thread for its transfers. A bool result says whether the transfer
/// succeeded, not whether the chip executed the command. Only the low byte of an int operand is sent.
namespace HidUtilities {

/// One-byte requests to the device as a whole.
enum ControlRequest {
    LeaveApplication = 0x0A, ///< re-enumerate in programming mode
    EndProgramming = 0x05,   ///< restart; the caller then waits 10 s for the device
};

/// Operations without operands.
enum ChipOperation {
    CommitOperation = 0x03, ///< write RAM bytes to the memory; the control block gives addresses and length
    LoadOperation = 0x84,   ///< copy image bytes into RAM; the control block gives addresses and length
};

/// A field of the loader's control block. The control block starts at ChipModel::smData.
struct ControlField
{
    unsigned char offset;
    unsigned char bytes;
};
constexpr ControlField NvmemType{0, 1}; ///< 1 transmitter, 2 headset
constexpr ControlField FlashAddress{1, 4};
constexpr ControlField RamAddress{5, 2};
constexpr ControlField Length{7, 2};   ///< number of bytes to load or commit; 1 before an erase
constexpr ControlField Cleared{10, 2}; ///< must be 0 before a commit
constexpr ControlField DeviceSize{13, 4};
constexpr ControlField ConfigBits{17, 1};
constexpr ControlField PageSize{18, 2};
constexpr ControlField SectorSize{20, 4};

struct ControlValue
{
    ControlField field;
    std::uint32_t value; ///< sent little-endian, in as many bytes as the field has
};

constexpr int lowByte(unsigned address)
{
    return static_cast<int>(address & 0xFF);
}
constexpr int highByte(unsigned address)
{
    return static_cast<int>(address >> 8 & 0xFF);
}

bool sendControlRequest(std::shared_ptr<AbstractHidDevice> device, int code);

/// @param data  1, 2, 4, 7 or 8 bytes.
bool writeMemory(std::shared_ptr<AbstractHidDevice> device, int addressLow, int addressHigh,
                 const std::vector<unsigned char>& data);

/// Writes @p values into the control block at @p smData, all in one write. The fields must be adjacent.
bool writeControlBlock(std::shared_ptr<AbstractHidDevice> device, unsigned short smData,
                       std::initializer_list<ControlValue> values);

bool executeOperation(std::shared_ptr<AbstractHidDevice> device, int operation);

/// Erases one sector of the transmitter's flash, at the flash address in the control block.
bool sendEraseCommand(std::shared_ptr<AbstractHidDevice> device);

/// Asks the chip to prepare @p count bytes as the next answer, and waits the 100 ms that the chip needs. Does
/// not wait if the request fails because the device is closed.
bool requestMemoryRead(std::shared_ptr<AbstractHidDevice> device, int addressLow, int addressHigh, int count);

enum class Answer {
    Missing, ///< no answer, or one that is too short
    NoData,  ///< the chip had nothing prepared
    Complete,
};

/// Reads @p count bytes, at most 53, from the chip's memory. Sets @p data only if the answer is complete.
[[nodiscard]] Answer readMemory(std::shared_ptr<AbstractHidDevice> device, int addressLow, int addressHigh,
                                int count, std::vector<unsigned char>& data);

/// Reads the chip identifier: 12 (AV6x01) or 13 (AV6x02). Returns 0 and logs a critical message if the
/// identifier is unknown or cannot be read. A failed read of a closed device is not logged.
int getAvneraChipId(std::shared_ptr<AbstractHidDevice> device);

/// Reads the revision register. Does not check the value. Returns 0 and logs a critical message if the
/// register cannot be read. A failed read of a closed device is not logged.
int getAvneraChipRevision(std::shared_ptr<AbstractHidDevice> device);

/// Looks up a chip and revision. Logs the name of the revision. If only the chip is known, logs that its
/// revision is unsupported.
/// @return null for a chip or revision that is not known.
[[nodiscard]] const ChipModel* getAvneraChipModel(int chipId, int revision);

/// Looks up the addresses of the loader's control block and of its download buffer. Logs the same messages as
/// getAvneraChipModel().
/// @return false, with the outputs untouched, for a chip or revision that is not known.
[[nodiscard]] bool getAvneraSmDataAndRamBase(unsigned short& smData, unsigned short& ramBase,
                                             const int chipId, const int revision);

} // namespace HidUtilities
