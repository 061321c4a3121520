#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <vector>

class AbstractHidDevice;

/// The commands to the audio chips: 64-byte feature reports on the vendor-defined HID interface.
///
/// Every operation blocks the calling thread for its transfers. The results tell whether the transfer itself
/// went through, not what the chip made of it. Of the operands that are named as int the low byte counts.
namespace HidUtilities {

/// One-byte requests to the device as a whole.
enum ControlRequest {
    LeaveApplication = 0x0A, ///< re-enumerate in programming mode
    EndProgramming = 0x05,   ///< restart; give the device 10 s
};

/// Operations without operands.
enum ChipOperation {
    CommitOperation = 0x03, ///< program RAM into the non-volatile memory, as the control block says
    LoadOperation = 0x84,   ///< copy image bytes into RAM, as the control block says
};

/// A field of the control block of the chip's loader, which stands at the chip's SmData address.
struct ControlField
{
    unsigned char offset;
    unsigned char bytes;
};
constexpr ControlField NvmemType{0, 1}; ///< 1 transmitter, 2 headset
constexpr ControlField FlashAddress{1, 4};
constexpr ControlField RamAddress{5, 2};
constexpr ControlField Length{7, 2};   ///< to load or commit; 1 before an erase
constexpr ControlField Cleared{10, 2}; ///< 0 before a commit
constexpr ControlField DeviceSize{13, 4};
constexpr ControlField ConfigBits{17, 1};
constexpr ControlField PageSize{18, 2};
constexpr ControlField SectorSize{20, 4};

struct ControlValue
{
    ControlField field;
    std::uint32_t value; ///< sent little-endian, as many bytes as the field has
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

/// Writes at most 8 bytes after the address.
bool writeMemory(std::shared_ptr<AbstractHidDevice> device, int addressLow, int addressHigh,
                 const std::vector<unsigned char>& data);

/// The same with 1, 2, 4, 7 or 8 bytes named one by one.
template <typename... Bytes>
bool writeMemory(std::shared_ptr<AbstractHidDevice> device, int addressLow, int addressHigh, int first,
                 Bytes... more)
{
    constexpr auto count = 1 + sizeof...(more);
    static_assert(count == 1 || count == 2 || count == 4 || count == 7 || count == 8);
    return writeMemory(
        std::move(device), addressLow, addressHigh,
        std::vector<unsigned char>{static_cast<unsigned char>(first), static_cast<unsigned char>(more)...});
}

/// Writes fields that stand side by side, in one write, into the control block at @p smData.
bool writeControlBlock(std::shared_ptr<AbstractHidDevice> device, unsigned short smData,
                       std::initializer_list<ControlValue> values);

bool executeOperation(std::shared_ptr<AbstractHidDevice> device, int operation);

/// Erases the transmitter's flash sector at the control block's flash address.
bool sendEraseCommand(std::shared_ptr<AbstractHidDevice> device);

/// Asks the chip to prepare @p count bytes as the next answer, and waits the 100 ms that it needs for that.
bool requestMemoryRead(std::shared_ptr<AbstractHidDevice> device, int addressLow, int addressHigh, int count);

/// Asks for @p count bytes, at most 53, and leaves them in @p data, which stays empty where the chip had
/// nothing prepared. The answer alone tells whether the request got through.
/// @return whether there was an answer.
[[nodiscard]] bool readMemory(std::shared_ptr<AbstractHidDevice> device, int addressLow, int addressHigh,
                              int count, std::vector<unsigned char>& data);

/// 12 (AV6x01) or 13 (AV6x02); 0, with critical log lines, when unknown or unreadable.
int getAvneraChipId(std::shared_ptr<AbstractHidDevice> device);

/// The revision register's value, whatever it is; 0, with critical log lines, when unreadable.
int getAvneraChipRevision(std::shared_ptr<AbstractHidDevice> device);

/// Looks the loader's addresses up: its control block, and the buffer for downloads.
/// @return false, with the outputs untouched, for a chip and revision that are not known.
[[nodiscard]] bool getAvneraSmDataAndRamBase(unsigned short& smData, unsigned short& ramBase,
                                             const int chipId, const int revision);

} // namespace HidUtilities
