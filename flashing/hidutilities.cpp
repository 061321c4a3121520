#include "hidutilities.h"

#include <algorithm>
#include <vector>

#include <windows.h>

#include <QtGlobal>

#include "abstracthiddevice.h"

using Device = std::shared_ptr<AbstractHidDevice>;

namespace {

// Command report.
constexpr std::size_t commandReportBytes = 64;
constexpr int reportId = 0xFF;

// Chip command: class, 0x04, 0x00, 0x00, N, operation, operands; N counts from the operation on, plus one.
constexpr int commandClass = 0xFF;
constexpr int memoryReadClass = 0xFD;
constexpr int writeMemoryOperation = 0x00;
constexpr int memoryReadOperation = 0x81;
constexpr int eraseOperation = 0x0C;

constexpr DWORD memoryReadDelayMs = 100;

struct Register
{
    int addressLow;
    int addressHigh;
};
constexpr Register chipIdRegister{0x04, 0xF0};
constexpr Register chipRevisionRegister{0x02, 0xF0};

struct LoaderAddresses
{
    int chipId;
    int revision;
    unsigned short smData;
    unsigned short ramBase;
};
constexpr LoaderAddresses loaderAddresses[] = {
    {HidUtilities::Av6x01, HidUtilities::RevisionC0, 0xC44A, 0xC764},
    {HidUtilities::Av6x01, HidUtilities::RevisionD0, 0xC42D, 0xD312},
    {HidUtilities::Av6x02, HidUtilities::RevisionC0, 0xC451, 0xC771},
    {HidUtilities::Av6x02, HidUtilities::RevisionD0, 0xB53A, 0xBB5C},
};

bool sendReport(Device device, const std::vector<int>& frame)
{
    if (frame.size() > commandReportBytes)
        return false;
    std::vector<unsigned char> report(commandReportBytes);
    std::transform(frame.begin(), frame.end(), report.begin(),
                   [](int element) { return static_cast<unsigned char>(element & 0xFF); });
    return device->setFeatureBlocking(&report);
}

bool sendFrame(Device device, const std::vector<int>& payload)
{
    std::vector<int> frame{reportId, static_cast<int>(payload.size()) + 1, 0x00};
    frame.insert(frame.end(), payload.begin(), payload.end());
    return sendReport(std::move(device), frame);
}

bool sendChipCommand(Device device, int commandClassByte, const std::vector<int>& operationAndOperands)
{
    std::vector<int> payload{commandClassByte, 0x04, 0x00, 0x00,
                             static_cast<int>(operationAndOperands.size()) + 1};
    payload.insert(payload.end(), operationAndOperands.begin(), operationAndOperands.end());
    return sendFrame(std::move(device), payload);
}

/// Reads one register byte into @p value.
bool getChipInfoCommand(int& value, Device device, const int addressLow, const int addressHigh,
                        const int count)
{
    // The answer tells whether the request got through.
    static_cast<void>(HidUtilities::requestMemoryRead(device, addressLow, addressHigh, count));
    std::vector<unsigned char> answer(HidUtilities::AnswerBytes);
    answer[0] = HidUtilities::AnswerReportId;
    if (!device->getFeatureBlocking(&answer) || answer.size() != HidUtilities::AnswerBytes)
        return false;
    if (answer[HidUtilities::AnswerStatusOffset] == HidUtilities::AnswerNoData) {
        qCritical("Error getting chip type: Device reported no data to send.");
        return false;
    }
    value = answer[HidUtilities::AnswerDataOffset];
    return true;
}

} // namespace

bool HidUtilities::sendControlRequest(Device device, int code)
{
    return sendFrame(std::move(device), {code});
}

bool HidUtilities::writeMemory(Device device, int addressLow, int addressHigh,
                               std::initializer_list<int> data)
{
    std::vector<int> operation{writeMemoryOperation, addressLow, addressHigh};
    operation.insert(operation.end(), data.begin(), data.end());
    return sendChipCommand(std::move(device), commandClass, operation);
}

bool HidUtilities::executeOperation(Device device, int operation)
{
    return sendChipCommand(std::move(device), commandClass, {operation});
}

bool HidUtilities::sendEraseCommand(Device device)
{
    return sendChipCommand(std::move(device), commandClass, {eraseOperation, 0x00, 0x00, 0x00});
}

bool HidUtilities::requestMemoryRead(Device device, int addressLow, int addressHigh, int count)
{
    const bool isSent = sendChipCommand(std::move(device), memoryReadClass,
                                        {memoryReadOperation, addressLow, addressHigh, count});
    Sleep(memoryReadDelayMs);
    return isSent;
}

int HidUtilities::getAvneraChipId(Device device)
{
    int value = 0;
    if (!getChipInfoCommand(value, std::move(device), chipIdRegister.addressLow, chipIdRegister.addressHigh,
                            1)) {
        qCritical("Failed trying obtain chip ID");
        return 0;
    }
    switch (value) {
    case Av6x01:
        qDebug("VMI AV6x01 identified");
        return value;
    case Av6x02:
        qDebug("VMI AV6x02 identified");
        return value;
    default:
        qCritical("Chip ID register does not match USB enumeration PID (Product ID number)");
        return 0;
    }
}

int HidUtilities::getAvneraChipRevision(Device device)
{
    int value = 0;
    if (!getChipInfoCommand(value, std::move(device), chipRevisionRegister.addressLow,
                            chipRevisionRegister.addressHigh, 1)) {
        qCritical("Failed trying obtain chip revision");
        return 0;
    }
    return value;
}

bool HidUtilities::getAvneraSmDataAndRamBase(unsigned short& smData, unsigned short& ramBase,
                                             const int chipId, const int revision)
{
    if (chipId != Av6x01 && chipId != Av6x02)
        return false;
    const auto found =
        std::find_if(std::begin(loaderAddresses), std::end(loaderAddresses), [&](const LoaderAddresses& row) {
            return row.chipId == chipId && row.revision == revision;
        });
    if (found == std::end(loaderAddresses)) {
        qCritical(chipId == Av6x01 ? "Unsupported AV6xx1 chip version" : "Unsupported AV6xx2 chip version");
        return false;
    }
    qDebug(revision == RevisionC0 ? "C0 VMI found" : "D0 VMI found");
    smData = found->smData;
    ramBase = found->ramBase;
    return true;
}
