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
constexpr unsigned rowStep = 0x1000; // distance between the starts of two rows; the loader leaves gaps

} // namespace

ReadDataHelper_FromDevice::ReadDataHelper_FromDevice(std::shared_ptr<AbstractHidDevice> hidDevice,
                                                     Cancelled isCancelled)
    : device(std::make_shared<ChipChannel>(std::move(hidDevice), std::move(isCancelled)))
{
    const int chipId = getAvneraChipId(device);
    const int revision = getAvneraChipRevision(device);
    if (!device->isOpen())
        return; // cancelled or closed during the reads, so the chip is unknown
    model = getAvneraChipModel(chipId, revision);
    if (!model)
        return; // a write to an unknown chip could change anything
    capacity = 1;
    QByteArray firstByte;
    if ((*this)(firstByte, 0, 1))
        capacity = ImageGeometry::decode(static_cast<unsigned char>(firstByte.at(0)), 0).deviceSize;
}

bool ReadDataHelper_FromDevice::operator()(QByteArray& data, unsigned int address, unsigned short size)
{
    size = std::min(size, maxReadBytes);
    data.clear();
    data.reserve(size);
    if (!model || !device->isOpen() || --readsLeft < 0)
        return false;
    if (std::uint64_t{address} + size > capacity)
        return false;
    // Both results are ignored: if the device does not accept these commands, the read below fails too.
    writeControlBlock(device, model->smData,
                      {{FlashAddress, address}, {RamAddress, model->readBuffer}, {Length, size}});
    executeOperation(device, LoadOperation);
    if (!appendRow(data, model->readBuffer, std::min<int>(size, rowBytes)))
        return false;
    return size <= rowBytes || appendRow(data, model->readBuffer + rowStep, size - rowBytes);
}

bool ReadDataHelper_FromDevice::appendRow(QByteArray& data, unsigned address, int count) const
{
    std::vector<unsigned char> row;
    if (readMemory(device, lowByte(address), highByte(address), count, row) != Answer::Complete)
        return false;
    data.append(reinterpret_cast<const char*>(row.data()), count);
    return true;
}
