#include "devicereader_p.h"

#include <algorithm>
#include <vector>

#include "abstracthiddevice.h"
#include "hidutilities.h"

namespace {

constexpr unsigned short maxReadBytes = 32;
constexpr int rowBytes = 16;
constexpr unsigned char rowStepHigh = 0x10; // the loader lays rows 0x1000 apart; keep

unsigned char lowByte(unsigned int value)
{
    return static_cast<unsigned char>(value & 0xFF);
}

unsigned char byteAt(unsigned int value, int shift)
{
    return lowByte(value >> shift);
}

/// The memory size that the low four bits of an image's first byte announce: 128 bytes doubled, 0 for 0.
std::uint32_t announcedCapacity(unsigned char firstByte)
{
    constexpr unsigned int nibble = 0x0F;
    constexpr unsigned int shiftCounts = 31; // counts are taken modulo 32
    return (std::uint32_t{1} << (((firstByte & nibble) - 1) & shiftCounts)) << 7;
}

} // namespace

ReadDataHelper_FromDevice::ReadDataHelper_FromDevice(std::shared_ptr<AbstractHidDevice> hidDevice,
                                                     Cancelled isCancelled)
    : device(std::move(hidDevice))
    , cancelled(std::move(isCancelled))
{
    const int chipId = HidUtilities::getAvneraChipId(device);
    bufferAddress = chipId == HidUtilities::Av6x01 ? Address{0x60, 0xC0} : Address{0xA0, 0xB0};
    const int revision = HidUtilities::getAvneraChipRevision(device);
    unsigned short smData = 0;
    unsigned short ramBase = 0;
    if (!HidUtilities::getAvneraSmDataAndRamBase(smData, ramBase, chipId, revision)) {
        capacity = 0; // a write could hit anything
        return;
    }
    const unsigned int mailbox = smData + unsigned{HidUtilities::FlashAddressOffset};
    mailboxAddress = {lowByte(mailbox), byteAt(mailbox, 8)};
    QByteArray firstByte;
    if ((*this)(firstByte, 0, 1))
        capacity = announcedCapacity(static_cast<unsigned char>(firstByte.at(0)));
}

bool ReadDataHelper_FromDevice::operator()(QByteArray& data, unsigned int address, unsigned short size)
{
    size = std::min(size, maxReadBytes);
    data.clear();
    data.reserve(size);
    if (*cancelled || --readsLeft < 0)
        return false;
    if (std::uint64_t{address} + size > capacity)
        return false;
    copyToBuffer(address, size);
    if (!appendRow(data, bufferAddress, std::min<int>(size, rowBytes)))
        return false;
    const Address secondRow{bufferAddress.low, static_cast<unsigned char>(bufferAddress.high + rowStepHigh)};
    if (size > rowBytes && !appendRow(data, secondRow, size - rowBytes))
        return false;
    return data.size() == size;
}

/// The results are left to the answers: a device that takes no command has none.
void ReadDataHelper_FromDevice::copyToBuffer(unsigned int address, unsigned short size) const
{
    static_cast<void>(HidUtilities::writeMemory(device, mailboxAddress.low, mailboxAddress.high,
                                                byteAt(address, 0), byteAt(address, 8), byteAt(address, 16),
                                                byteAt(address, 24), bufferAddress.low, bufferAddress.high,
                                                byteAt(size, 0), byteAt(size, 8)));
    static_cast<void>(HidUtilities::executeOperation(device, HidUtilities::LoadOperation));
}

bool ReadDataHelper_FromDevice::appendRow(QByteArray& data, Address row, int count) const
{
    static_cast<void>(HidUtilities::requestMemoryRead(device, row.low, row.high, count));
    std::vector<unsigned char> answer(HidUtilities::AnswerBytes);
    answer[0] = HidUtilities::AnswerReportId;
    if (!device->getFeatureBlocking(&answer) ||
        answer[HidUtilities::AnswerStatusOffset] == HidUtilities::AnswerNoData)
        return false;
    data.append(reinterpret_cast<const char*>(answer.data()) + HidUtilities::AnswerDataOffset, count);
    return true;
}
