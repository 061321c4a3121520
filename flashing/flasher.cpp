#include "flasher.h"

#include <algorithm>

#include <windows.h>

#include "deviceinstance.h"
#include "flashingerror.h"
#include "imagegeometry.h"

using namespace HidUtilities;

namespace {

constexpr std::uint32_t headerBytes = 2; // the image's first bytes, which describe the device memory

constexpr unsigned short transmitterPinmux = 0xF0E1;

// Data packet: E4, offset within the chunk (2 bytes), 00 00 00, 01, up to 256 image bytes.
constexpr int packetReportId = 0xE4;
constexpr std::size_t packetHeaderBytes = 7;
constexpr std::uint32_t packetDataBytes = 256;
constexpr std::size_t packetBytes = packetHeaderBytes + packetDataBytes;
constexpr int featureReportKind = 2; // value of HidP_Feature

constexpr std::uint32_t chunkBytes = 4096;
constexpr std::uint32_t ramEnd = 0xEEFF;

constexpr DWORD packetDelayMs = 20;
constexpr DWORD transmitterCommitDelayMs = 50;
constexpr DWORD headsetCommitDelayMs = 1000;
constexpr DWORD sectorEraseDelayMs = 4000;
constexpr DWORD lastCommitDelayMs = 2000;
constexpr DWORD restartStepMs = 100;
constexpr int restartSteps = 100;

// The maximum of the progress is fixedSteps, plus stepsPerChunk for each chunk but the last, plus 1
// for each full packet of the last chunk. For a transmitter, stepsPerSector is added for each full
// sector of the image.
constexpr std::uint32_t fixedSteps = 108;
constexpr std::uint32_t stepsPerChunk = 21;
constexpr std::uint32_t stepsPerSector = 5;

} // namespace

Flasher::Flasher(std::shared_ptr<AbstractHidDevice> hidDevice)
    : device(hidDevice ? std::make_shared<ChipChannel>(std::move(hidDevice)) : nullptr)
{
    if (!device)
        return;
    // The run continues after a failed transfer. If the run then succeeds, only this log line shows that a
    // transfer failed.
    device->onFailure = [this](const Place& place) {
        qWarning("%s: Transfer %d did not get through, phase %s", name.c_str(), place.transfer,
                 phaseName(place.phase));
    };
}

void Flasher::abort()
{
    aborted.store(true, std::memory_order_relaxed);
}

void Flasher::operate(QByteArray firmware, int memoryType)
{
    image = firmware;
    nvmemType = memoryType;
    name = isTransmitter() ? "Transmitter" : "Headset";
    try {
        program();
        Q_EMIT flashingFinished();
    } catch (const FlashingError& e) {
        Q_EMIT flashingError(e.code);
    }
    device.reset();
    image.clear();
    consumed = 0;
    name.clear();
}

void Flasher::program()
{
    if (!device)
        throw FlashingError(FlashingError::DeviceLost);
    if (image.isEmpty())
        throw FlashingError(FlashingError::EmptyImage);
    checkAborted();
    const int chipId = getAvneraChipId(device);
    const int chipRevision = getAvneraChipRevision(device);
    qDebug("Device type = %d, chip id = %d ", nvmemType, chipId);
    qDebug("Device type = %d, chip major revision = %d", nvmemType, chipRevision);
    if (chipId == 0 || chipRevision == 0)
        throw FlashingError(FlashingError::UnknownChip);
    detectSizes(chipId, chipRevision);
    // Before the memory changes, checks that the device takes data packets.
    static_cast<void>(createPacket());
    setupProgressRange();
    advance();
    configurePinmux();
    advance();
    calculateRamSize();
    advance();
    startProgramming();
    advance();
    // The request is sent once, and the device does not confirm it. A device that misses the request remains
    // in programming mode and can be updated again.
    if (!sendControlRequest(device, EndProgramming))
        checkOpen(); // ends the run if the device was closed, because the last commit may be missing
    advance();
    for (int step = 0; step < restartSteps; ++step) {
        Sleep(restartStepMs);
        advance();
    }
}

void Flasher::detectSizes(int chipId, int chipRevision)
{
    qDebug("%s: Firmware size is %u", name.c_str(), imageSize());
    qDebug("%s: Start programming at 0x%.4X", name.c_str(), 0u);
    if (imageSize() < headerBytes) {
        qCritical("%s: ERROR: File is too short to describe the device memory!", name.c_str());
        throw FlashingError(FlashingError::ImageDoesNotFit);
    }
    geometry = ImageGeometry::decode(static_cast<unsigned char>(image.at(0)),
                                     static_cast<unsigned char>(image.at(1)));
    qDebug("%s device size = %u", name.c_str(), geometry.deviceSize);
    if (imageSize() > geometry.deviceSize) {
        qCritical("%s: ERROR: File size is larger than available device memory!", name.c_str());
        throw FlashingError(FlashingError::ImageDoesNotFit);
    }
    qDebug("%s: page size = %u", name.c_str(), pageSize());
    qDebug("%s: sector size = %u", name.c_str(), sectorSize());
    model = getAvneraChipModel(chipId, chipRevision);
    if (!model) {
        qCritical("%s: ERROR: Unsupported chip", name.c_str());
        throw FlashingError(FlashingError::UnsupportedChip);
    }
    if (isTransmitter() && sectorSize() == 0) {
        qCritical("%s: ERROR: File announces no sector size!", name.c_str());
        throw FlashingError(FlashingError::ImageDoesNotFit);
    }
}

void Flasher::setupProgressRange()
{
    const std::uint32_t size = imageSize();
    const std::uint32_t fullChunks = (size - 1) / chunkBytes; // all but the last chunk
    const std::uint32_t lastChunk = size - fullChunks * chunkBytes;
    std::uint32_t max = fixedSteps + fullChunks * stepsPerChunk + lastChunk / packetDataBytes;
    if (isTransmitter())
        max += stepsPerSector * (size / sectorSize());
    Q_EMIT progressRangeChanged(0, static_cast<int>(max));
}

void Flasher::configurePinmux()
{
    device->enterPhase(Phase::Configure);
    qDebug("%s: Configuring the PINMUX ...", name.c_str());
    if (isTransmitter())
        writeChipMemory(transmitterPinmux, {0x50, 0x05});
    else
        writeChipMemory(model->headsetPinmux.address, {model->headsetPinmux.value});
    advance();
    writeChipMemory({{NvmemType, static_cast<std::uint32_t>(nvmemType)}});
    advance();
    writeChipMemory({{SectorSize, sectorSize()}});
    advance();
    writeChipMemory(
        {{DeviceSize, geometry.deviceSize}, {ConfigBits, geometry.configBits}, {PageSize, pageSize()}});
}

void Flasher::calculateRamSize()
{
    const std::uint32_t ramSize = ramEnd - model->ramBase;
    qDebug("%s: Available RAM for download is %u bytes", name.c_str(), ramSize);
    if (imageSize() > ramSize)
        qDebug("%s: Splitting image into multiple downloads", name.c_str());
}

void Flasher::startProgramming()
{
    if (model->patch)
        writeChipMemory(model->patch->address, {model->patch->value});
    if (isTransmitter())
        eraseTransmitterFlash();
    qDebug("%s: Start programming at address 0x%.4X", name.c_str(), 0u);
    std::uint32_t chunk = chunkBytes;
    for (std::uint32_t address = 0; address < imageSize(); address += chunkBytes) {
        qDebug("%s: Downloading DATA to RAM", name.c_str());
        downloadToRam(chunk);
        commitChunk(address, chunk);
        chunk = std::min(chunk, bytesLeft());
        Sleep(isTransmitter() ? transmitterCommitDelayMs : headsetCommitDelayMs);
        advance();
    }
    advance();
    device->enterPhase(Phase::FinalWait);
    qDebug("%s: Final wait", name.c_str());
    Sleep(lastCommitDelayMs);
}

void Flasher::commitChunk(std::uint32_t address, std::uint32_t chunkSize)
{
    device->enterPhase(Phase::Commit);
    qDebug("%s: Resetting structure parameters", name.c_str());
    writeChipMemory({{FlashAddress, address}});
    advance();
    writeChipMemory({{RamAddress, model->ramBase}});
    advance();
    writeChipMemory({{Length, chunkSize}});
    advance();
    writeChipMemory({{Cleared, 0}});
    checkAborted();
    qDebug("%s: Committing RAM starting at 0x%.4X", name.c_str(), address);
    // A failure is only logged, as in downloadToRam().
    executeOperation(device, CommitOperation);
    advance();
}

std::unique_ptr<std::vector<unsigned char>> Flasher::createPacket()
{
    std::unique_ptr<std::vector<unsigned char>> packet(device->createReportBuffer(featureReportKind));
    if (!packet || packet->size() < packetBytes) {
        qCritical("%s: ERROR: Device takes no data packets!", name.c_str());
        throw FlashingError(FlashingError::UnsupportedChip);
    }
    return packet;
}

void Flasher::downloadToRam(std::uint32_t chunkSize)
{
    device->enterPhase(Phase::Download);
    // If the whole image is shorter than a chunk, this loop ends early, but the commit covers a whole chunk.
    for (std::uint32_t offset = 0; offset < chunkSize && bytesLeft() > 0; offset += packetDataBytes) {
        const std::uint32_t count = std::min(packetDataBytes, bytesLeft());
        const auto packet = createPacket();
        const int header[] = {packetReportId, lowByte(offset), highByte(offset), 0x00, 0x00, 0x00, 0x01};
        const auto data = std::copy(std::begin(header), std::end(header), packet->begin());
        std::copy_n(image.cbegin() + consumed, count, data);
        checkAborted();
        // A failure is only logged. If the device was removed, the abort flag ends the run at the next check.
        device->setFeatureBlocking(packet.get());
        advance();
        consumed += count;
        Sleep(packetDelayMs);
    }
}

void Flasher::eraseTransmitterFlash()
{
    device->enterPhase(Phase::Erase);
    for (std::uint32_t address = 0; address < imageSize(); address += sectorSize()) {
        writeChipMemory({{FlashAddress, address}});
        advance();
        writeChipMemory({{Length, 1}});
        advance();
        qDebug("%s: Erasing Flash starting at 0x%.4X", name.c_str(), address);
        checkAborted();
        sendEraseCommand(device); // a failure is only logged, as in downloadToRam()
        advance();
        Sleep(sectorEraseDelayMs);
        advance();
    }
}

void Flasher::checkAborted() const
{
    if (aborted.load(std::memory_order_relaxed))
        throw FlashingError(FlashingError::DeviceLost);
    checkOpen();
}

/// Ends the run if the device is closed. The detector closes the device when the system asks for an orderly
/// removal.
void Flasher::checkOpen() const
{
    if (!device->isOpen())
        throw FlashingError(FlashingError::DeviceLost);
}

void Flasher::advance()
{
    ++progress;
    Q_EMIT progressValueChanged(progress);
}

bool Flasher::isTransmitter() const
{
    return nvmemType == DeviceType::Transmitter;
}

std::uint32_t Flasher::imageSize() const
{
    return static_cast<std::uint32_t>(image.size());
}

std::uint32_t Flasher::bytesLeft() const
{
    return imageSize() - consumed;
}

std::uint32_t Flasher::pageSize() const
{
    return isTransmitter() ? geometry.transmitterPageSize : geometry.headsetPageSize;
}

std::uint32_t Flasher::sectorSize() const
{
    return isTransmitter() ? geometry.transmitterSectorSize : 0;
}

// The next two functions only log a failed write. If the device was removed, the abort flag ends the run
// at the next check.

void Flasher::writeChipMemory(unsigned short address, const std::vector<unsigned char>& data)
{
    checkAborted();
    writeMemory(device, lowByte(address), highByte(address), data);
}

void Flasher::writeChipMemory(std::initializer_list<ControlValue> values)
{
    checkAborted();
    writeControlBlock(device, model->smData, values);
}
