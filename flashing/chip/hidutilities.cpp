#include "hidutilities.h"

#include <utility>

#include <windows.h>

#include <QtGlobal>

#include "abstracthiddevice.h"
#include "chipmodel.h"

using Device = std::shared_ptr<AbstractHidDevice>;
using Bytes = std::vector<unsigned char>;

namespace {

constexpr std::size_t reportBytes = 64;
constexpr unsigned char reportId = 0xFF;

// Chip command: class, 0x04, 0x00, 0x00, N, operation, operands. N is one more than the number of
// bytes after N.
constexpr unsigned char commandClass = 0xFF;
constexpr unsigned char memoryReadClass = 0xFD;
constexpr unsigned char writeMemoryOperation = 0x00;
constexpr unsigned char memoryReadOperation = 0x81;
constexpr unsigned char eraseOperation = 0x0C;

// Answer: report ID, status, nine bytes without meaning, the requested bytes.
constexpr std::size_t answerStatusOffset = 1;
constexpr unsigned char answerNoData = 0x01;
constexpr int answerDataOffset = 11;

constexpr DWORD memoryReadDelayMs = 100;

constexpr unsigned chipIdRegister = 0xF004;
constexpr unsigned chipRevisionRegister = 0xF002;

unsigned char byteOf(int operand)
{
    return static_cast<unsigned char>(operand);
}

/// Returns the length byte that precedes @p bytes in a report: one more than the number of bytes.
unsigned char lengthOf(const Bytes& bytes)
{
    return static_cast<unsigned char>(bytes.size() + 1);
}

bool sendFrame(const Device& device, const Bytes& payload)
{
    Bytes report{reportId, lengthOf(payload), 0x00};
    for (const unsigned char byte : payload)
        report.push_back(byte);
    report.resize(reportBytes);
    return device->setFeatureBlocking(&report);
}

bool sendChipCommand(const Device& device, unsigned char group, const Bytes& operationAndOperands)
{
    Bytes payload{group, 0x04, 0x00, 0x00, lengthOf(operationAndOperands)};
    payload.insert(payload.end(), operationAndOperands.begin(), operationAndOperands.end());
    return sendFrame(device, payload);
}

/// Reads one register byte into @p value.
bool getChipInfoCommand(int& value, Device device, const int addressLow, const int addressHigh,
                        const int count)
{
    using HidUtilities::Answer;
    Bytes data;
    const Answer answer = HidUtilities::readMemory(std::move(device), addressLow, addressHigh, count, data);
    if (answer == Answer::NoData)
        qCritical("Error getting chip type: Device reported no data to send.");
    if (answer != Answer::Complete)
        return false;
    value = data.front();
    return true;
}

} // namespace

bool HidUtilities::sendControlRequest(Device device, int code)
{
    return sendFrame(device, {byteOf(code)});
}

bool HidUtilities::writeMemory(Device device, int addressLow, int addressHigh, const Bytes& data)
{
    Bytes operation{writeMemoryOperation, byteOf(addressLow), byteOf(addressHigh)};
    operation.insert(operation.end(), data.begin(), data.end());
    return sendChipCommand(device, commandClass, operation);
}

bool HidUtilities::writeControlBlock(Device device, unsigned short smData,
                                     std::initializer_list<ControlValue> values)
{
    Bytes data;
    for (const auto& [field, value] : values) {
        for (int i = 0; i < field.bytes; ++i)
            data.push_back(static_cast<unsigned char>(value >> (8 * i)));
    }
    const unsigned address = smData + unsigned{values.begin()->field.offset};
    return writeMemory(std::move(device), lowByte(address), highByte(address), data);
}

bool HidUtilities::executeOperation(Device device, int operation)
{
    return sendChipCommand(device, commandClass, {byteOf(operation)});
}

bool HidUtilities::sendEraseCommand(Device device)
{
    return sendChipCommand(device, commandClass, {eraseOperation, 0x00, 0x00, 0x00});
}

bool HidUtilities::requestMemoryRead(Device device, int addressLow, int addressHigh, int count)
{
    const bool isSent =
        sendChipCommand(device, memoryReadClass,
                        {memoryReadOperation, byteOf(addressLow), byteOf(addressHigh), byteOf(count)});
    if (isSent || device->isOpen())
        Sleep(memoryReadDelayMs);
    return isSent;
}

HidUtilities::Answer HidUtilities::readMemory(Device device, int addressLow, int addressHigh, int count,
                                              Bytes& data)
{
    requestMemoryRead(device, addressLow, addressHigh, count); // the answer shows whether the request arrived
    Bytes report(reportBytes);
    report.front() = reportId;
    if (!device->getFeatureBlocking(&report) || report.size() <= answerStatusOffset)
        return Answer::Missing;
    if (report[answerStatusOffset] == answerNoData)
        return Answer::NoData;
    if (report.size() < answerDataOffset + static_cast<std::size_t>(count))
        return Answer::Missing;
    const auto begin = report.begin() + answerDataOffset;
    data.assign(begin, begin + count);
    return Answer::Complete;
}

int HidUtilities::getAvneraChipId(Device device)
{
    int value = 0;
    if (!getChipInfoCommand(value, device, lowByte(chipIdRegister), highByte(chipIdRegister), 1)) {
        if (device->isOpen())
            qCritical("Failed trying obtain chip ID");
        return 0;
    }
    const ChipModel* const model = findChipModel(value);
    if (!model) {
        qCritical("Chip ID register does not match USB enumeration PID (Product ID number)");
        return 0;
    }
    qDebug("VMI %s identified", model->name);
    return value;
}

int HidUtilities::getAvneraChipRevision(Device device)
{
    int value = 0;
    if (!getChipInfoCommand(value, device, lowByte(chipRevisionRegister), highByte(chipRevisionRegister),
                            1)) {
        if (device->isOpen())
            qCritical("Failed trying obtain chip revision");
        return 0;
    }
    return value;
}

const ChipModel* HidUtilities::getAvneraChipModel(int chipId, int revision)
{
    const ChipModel* const model = findChipModel(chipId, revision);
    if (model)
        qDebug("%s VMI found", model->revisionName);
    else if (const ChipModel* const chip = findChipModel(chipId))
        qCritical("Unsupported %s chip version", chip->family);
    return model;
}

bool HidUtilities::getAvneraSmDataAndRamBase(unsigned short& smData, unsigned short& ramBase,
                                             const int chipId, const int revision)
{
    const ChipModel* const model = getAvneraChipModel(chipId, revision);
    if (!model)
        return false;
    smData = model->smData;
    ramBase = model->ramBase;
    return true;
}
