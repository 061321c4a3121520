#include "devicereader_p.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "chipmodel.h"
#include "hidutilities.h"
#include "imagegeometry.h"

using namespace HidUtilities;

namespace {

constexpr unsigned short maxReadBytes = 32;
constexpr int rowBytes = 16;
constexpr unsigned rowStep = 0x1000; // the loader lays rows so far apart; keep

} // namespace

ReadDataHelper_FromDevice::ReadDataHelper_FromDevice(std::shared_ptr<AbstractHidDevice> hidDevice,
                                                     Cancelled isCancelled)
    : device(std::make_shared<ChipChannel>(std::move(hidDevice), isCancelled))
    , cancelled(std::move(isCancelled))
{
    const int chipId = getAvneraChipId(device);
    if (*cancelled)
        return;
    const int revision = getAvneraChipRevision(device);
    unsigned short ramBase = 0;
    if (!getAvneraSmDataAndRamBase(smData, ramBase, chipId, revision)) {
        capacity = 0; // a write could hit anything
        return;
    }
    bufferAddress = findChipModel(chipId)->readBuffer;
    QByteArray firstByte;
    if ((*this)(firstByte, 0, 1))
        capacity = ImageGeometry::decode(static_cast<unsigned char>(firstByte.at(0)), 0).deviceSize;
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
    // The results are left to the answers: a device that takes no command has none.
    writeControlBlock(device, smData, {{FlashAddress, address}, {RamAddress, bufferAddress}, {Length, size}});
    executeOperation(device, LoadOperation);
    if (!appendRow(data, bufferAddress, std::min<int>(size, rowBytes)))
        return false;
    if (size > rowBytes && !appendRow(data, bufferAddress + rowStep, size - rowBytes))
        return false;
    return data.size() == size;
}

bool ReadDataHelper_FromDevice::appendRow(QByteArray& data, unsigned address, int count) const
{
    std::vector<unsigned char> row;
    if (!readMemory(device, lowByte(address), highByte(address), count, row) || row.empty())
        return false;
    data.append(reinterpret_cast<const char*>(row.data()), count);
    return true;
}
