#pragma once

#include <initializer_list>
#include <memory>

class AbstractHidDevice;

/// The command channel to the audio chips: 64-byte feature reports on the vendor-defined HID interface.
///
/// Every operation blocks the calling thread for its transfers. The results tell whether the transfer itself
/// went through, not what the chip made of it. Address, data and count operands are cut to their low byte.
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

/// Offsets in the control block of the chip's loader, which stands at the chip's SmData address. Fields are
/// little-endian.
enum ControlBlockOffset {
    NvmemTypeOffset = 0,    ///< 1 byte: 1 transmitter, 2 headset
    FlashAddressOffset = 1, ///< 4 bytes
    RamAddressOffset = 5,   ///< 2 bytes
    LengthOffset = 7,       ///< 2 bytes: to load or commit; 1 before an erase
    ClearedOffset = 10,     ///< 2 bytes, 0 before a commit
    DeviceSizeOffset = 13,  ///< 4 bytes; 1 byte of configuration bits and 2 bytes of page size follow
    SectorSizeOffset = 20,  ///< 4 bytes
};

/// An answer report: byte 0 the report ID; byte 1 equal to AnswerNoData where nothing was prepared; the bytes
/// asked for from AnswerDataOffset on.
enum AnswerLayout {
    AnswerBytes = 64,
    AnswerReportId = 0xFF,
    AnswerStatusOffset = 1,
    AnswerNoData = 0x01,
    AnswerDataOffset = 11,
};

enum ChipId { Av6x01 = 12, Av6x02 = 13 };
enum ChipRevision { RevisionC0 = 2, RevisionD0 = 3 };

bool sendControlRequest(std::shared_ptr<AbstractHidDevice> device, int code);

/// Writes the bytes after the address (low, high byte first).
bool writeMemory(std::shared_ptr<AbstractHidDevice> device, int addressLow, int addressHigh,
                 std::initializer_list<int> data);

/// The same with 1, 2, 4, 7 or 8 bytes named one by one.
template <typename... Bytes>
bool writeMemory(std::shared_ptr<AbstractHidDevice> device, int addressLow, int addressHigh, int first,
                 Bytes... more)
{
    constexpr auto count = 1 + sizeof...(more);
    static_assert(count == 1 || count == 2 || count == 4 || count == 7 || count == 8);
    return writeMemory(std::move(device), addressLow, addressHigh, {first, static_cast<int>(more)...});
}

bool executeOperation(std::shared_ptr<AbstractHidDevice> device, int operation);

/// Erases the transmitter's flash sector at the control block's flash address.
bool sendEraseCommand(std::shared_ptr<AbstractHidDevice> device);

/// Asks the chip to prepare @p count bytes as the next answer, and waits the 100 ms that it needs for that.
bool requestMemoryRead(std::shared_ptr<AbstractHidDevice> device, int addressLow, int addressHigh, int count);

/// 12 (AV6x01) or 13 (AV6x02); 0, with critical log lines, when unknown or unreadable.
int getAvneraChipId(std::shared_ptr<AbstractHidDevice> device);

/// The revision register's value, whatever it is; 0, with critical log lines, when unreadable.
int getAvneraChipRevision(std::shared_ptr<AbstractHidDevice> device);

/// Looks the loader's addresses up: its control block, and the buffer for downloads.
/// @return false, with the outputs untouched, for a chip and revision that are not known.
[[nodiscard]] bool getAvneraSmDataAndRamBase(unsigned short& smData, unsigned short& ramBase,
                                             const int chipId, const int revision);

} // namespace HidUtilities
