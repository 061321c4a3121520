#include "flasher.h"

#include <algorithm>

#include <windows.h>

#include "abstracthiddevice.h"
#include "deviceinstance.h"
#include "flashingerror.h"
#include "hidutilities.h"

namespace {

// Image header: byte 0 holds memory size and page size, byte 1 sector size and configuration bits.
constexpr std::size_t headerBytes = 2;
constexpr unsigned nibble = 0x0F;
constexpr int pageNibbleShift = 4;
constexpr unsigned headsetPageBits = 0x07; // the headset ignores the top bit of its nibble
constexpr int configBitsShift = 4;
constexpr unsigned configBitsMask = 0x03;

// Chip registers, low and high byte of their addresses.
constexpr int pinmuxLow = 0xE1, pinmuxHigh = 0xF0;
constexpr int headsetPinmuxLow = 0xE2; // of chip 12
constexpr int revisionC0PatchLow = 0xA7, revisionC0PatchHigh = 0xC0;

// Data packet: E4, offset within the chunk (2 bytes), 00 00 00, 01, up to 256 image bytes.
constexpr unsigned char packetReportId = 0xE4;
constexpr std::size_t packetHeaderBytes = 7;
constexpr int packetDataBytes = 256;
constexpr std::size_t packetBytes = packetHeaderBytes + packetDataBytes;
constexpr int featureReportKind = 2; // HidP_Feature

constexpr int transfersPerQuery = 2; // the request for a register and its answer

constexpr int chunkBytes = 4096;
constexpr int ramEnd = 0xEEFF;

constexpr DWORD packetDelayMs = 20;
constexpr DWORD transmitterCommitDelayMs = 50;
constexpr DWORD headsetCommitDelayMs = 1000;
constexpr DWORD sectorEraseDelayMs = 4000;
constexpr DWORD lastCommitDelayMs = 2000;
constexpr DWORD restartStepMs = 100;
constexpr int restartSteps = 100;

// Progress announced beside the data's own steps.
constexpr std::uint32_t fixedSteps = 108;
constexpr std::uint32_t stepsPerChunk = 21;
constexpr std::uint32_t stepsPerSector = 5;

/// A size coded as a power of two: 2^(exponent - 1) << shift, 0 for exponent 0 where that does not fit 32
/// bits.
std::uint32_t codedSize(unsigned exponent, int shift)
{
    constexpr unsigned shiftCounts = 31; // counts are taken modulo 32
    return (std::uint32_t{1} << ((exponent - 1) & shiftCounts)) << shift;
}

constexpr int byteOf(std::uint32_t value, int index)
{
    return static_cast<int>((value >> (8 * index)) & 0xFF);
}

} // namespace

Flasher::Flasher(std::shared_ptr<AbstractHidDevice> hidDevice)
    : device(std::move(hidDevice))
{
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
    chipId = HidUtilities::getAvneraChipId(device);
    noteTransfers(transfersPerQuery, chipId != 0);
    chipRevision = HidUtilities::getAvneraChipRevision(device);
    noteTransfers(transfersPerQuery, chipRevision != 0);
    qDebug("Device type = %d, chip id = %d ", nvmemType, chipId);
    qDebug("Device type = %d, chip major revision = %d", nvmemType, chipRevision);
    if (chipId == 0 || chipRevision == 0)
        throw FlashingError(FlashingError::UnknownChip);
    detectSizes();
    // A device that takes no data is refused here, while its memory still holds what it runs.
    static_cast<void>(createPacket());
    setupProgressRange();
    advance();
    configurePinmux();
    advance();
    calculateRamSize();
    advance();
    startProgramming();
    advance();
    // Sent once and not confirmed: the device restarts, or stays in programming mode for the next attempt.
    noteTransfers(1, HidUtilities::sendControlRequest(device, HidUtilities::EndProgramming));
    advance();
    for (int step = 0; step < restartSteps; ++step) {
        Sleep(restartStepMs);
        advance();
    }
}

void Flasher::detectSizes()
{
    qDebug("%s: Firmware size is %lu", name.c_str(), static_cast<unsigned long>(imageSize()));
    qDebug("%s: Start programming at 0x%.4X", name.c_str(), 0u);
    if (imageSize() < headerBytes) {
        qCritical("%s: ERROR: File is too short to describe the device memory!", name.c_str());
        throw FlashingError(FlashingError::ImageDoesNotFit);
    }
    deviceSize = codedSize(imageByte(0) & nibble, 7);
    qDebug("%s device size = %d", name.c_str(), static_cast<int>(deviceSize));
    if (imageSize() > deviceSize) {
        qCritical("%s: ERROR: File size is larger than available device memory!", name.c_str());
        throw FlashingError(FlashingError::ImageDoesNotFit);
    }
    const unsigned pageNibble = imageByte(0) >> pageNibbleShift;
    if (!isTransmitter())
        pageSize = static_cast<int>(codedSize(pageNibble & headsetPageBits, 2));
    else
        pageSize = pageNibble == 0 ? 1 : static_cast<int>(codedSize(pageNibble, 2));
    qDebug("%s: page size = %d", name.c_str(), pageSize);
    sectorSize = isTransmitter() ? static_cast<int>(codedSize(imageByte(1) & nibble, 7)) : 0;
    qDebug("%s: sector size = %d", name.c_str(), sectorSize);
    if (isTransmitter() && sectorSize == 0) {
        qCritical("%s: ERROR: File announces no sector size!", name.c_str());
        throw FlashingError(FlashingError::ImageDoesNotFit);
    }
    if (!HidUtilities::getAvneraSmDataAndRamBase(smData, ramBase, chipId, chipRevision)) {
        qCritical("%s: ERROR: Unsupported chip", name.c_str());
        throw FlashingError(FlashingError::UnsupportedChip);
    }
}

void Flasher::setupProgressRange()
{
    const auto size = static_cast<std::uint32_t>(imageSize());
    const std::uint32_t fullChunks = (size - 1) / chunkBytes; // the last chunk counts by its packets
    const std::uint32_t lastChunk = size - fullChunks * chunkBytes;
    std::uint32_t max = fixedSteps + fullChunks * stepsPerChunk + lastChunk / packetDataBytes;
    if (isTransmitter())
        max += stepsPerSector * (size / static_cast<std::uint32_t>(sectorSize));
    Q_EMIT progressRangeChanged(0, static_cast<int>(max));
}

void Flasher::configurePinmux()
{
    place.phase = "configure";
    qDebug("%s: Configuring the PINMUX ...", name.c_str());
    if (isTransmitter())
        writeChipMemory(pinmuxLow, pinmuxHigh, 0x50, 0x05);
    else if (chipId == HidUtilities::Av6x01)
        writeChipMemory(headsetPinmuxLow, pinmuxHigh, 0x0A);
    else if (chipId == HidUtilities::Av6x02)
        writeChipMemory(pinmuxLow, pinmuxHigh, 0xA0);
    advance();
    writeControlBlock(HidUtilities::NvmemTypeOffset, nvmemType);
    advance();
    const auto sector = static_cast<std::uint32_t>(sectorSize);
    writeControlBlock(HidUtilities::SectorSizeOffset, byteOf(sector, 0), byteOf(sector, 1), byteOf(sector, 2),
                      byteOf(sector, 3));
    advance();
    const int configBits = (imageByte(1) >> configBitsShift) & configBitsMask;
    const auto page = static_cast<std::uint32_t>(pageSize);
    writeControlBlock(HidUtilities::DeviceSizeOffset, byteOf(deviceSize, 0), byteOf(deviceSize, 1),
                      byteOf(deviceSize, 2), byteOf(deviceSize, 3), configBits, byteOf(page, 0),
                      byteOf(page, 1));
}

void Flasher::calculateRamSize()
{
    ramSize = ramEnd - ramBase;
    qDebug("%s: Available RAM for download is %d bytes", name.c_str(), ramSize);
    if (imageSize() > static_cast<std::size_t>(ramSize))
        qDebug("%s: Splitting image into multiple downloads", name.c_str());
}

void Flasher::startProgramming()
{
    if (chipRevision == HidUtilities::RevisionC0)
        writeChipMemory(revisionC0PatchLow, revisionC0PatchHigh, 0x00);
    if (isTransmitter())
        eraseTransmitterFlash();
    qDebug("%s: Start programming at address 0x%.4X", name.c_str(), 0u);
    const std::size_t total = imageSize();
    int chunk = chunkBytes;
    std::uint32_t address = 0;
    while (address < total) {
        qDebug("%s: Downloading DATA to RAM", name.c_str());
        downloadToRam(chunk);
        commitChunk(address, chunk);
        address += static_cast<std::uint32_t>(chunk);
        chunk = static_cast<int>(std::min<std::size_t>(static_cast<std::size_t>(chunk), bytesLeft()));
        Sleep(isTransmitter() ? transmitterCommitDelayMs : headsetCommitDelayMs);
        advance();
    }
    advance();
    place.phase = "final wait";
    qDebug("%s: Final wait", name.c_str());
    Sleep(lastCommitDelayMs);
}

void Flasher::commitChunk(std::uint32_t address, int chunkSize)
{
    place.phase = "commit";
    qDebug("%s: Resetting structure parameters", name.c_str());
    writeControlBlock(HidUtilities::FlashAddressOffset, byteOf(address, 0), byteOf(address, 1),
                      byteOf(address, 2), byteOf(address, 3));
    advance();
    writeControlBlock(HidUtilities::RamAddressOffset, byteOf(ramBase, 0), byteOf(ramBase, 1));
    advance();
    const auto length = static_cast<std::uint32_t>(chunkSize);
    writeControlBlock(HidUtilities::LengthOffset, byteOf(length, 0), byteOf(length, 1));
    advance();
    writeControlBlock(HidUtilities::ClearedOffset, 0x00, 0x00);
    checkAborted();
    qDebug("%s: Committing RAM starting at 0x%.4X", name.c_str(), address);
    // Paced by the delay, not by the result.
    noteTransfers(1, HidUtilities::executeOperation(device, HidUtilities::CommitOperation));
    advance();
}

std::unique_ptr<std::vector<unsigned char>> Flasher::createPacket()
{
    std::unique_ptr<std::vector<unsigned char>> packet(device->createReportBuffer(featureReportKind));
    if (!packet || packet->size() < packetBytes) {
        qCritical("%s: ERROR: Device takes no data packets!", name.c_str());
        throw FlashingError(FlashingError::DeviceLost);
    }
    return packet;
}

void Flasher::downloadToRam(int chunkSize)
{
    place.phase = "download";
    // A short image ends the chunk early; the chunk's full length is committed all the same.
    for (int offset = 0; offset < chunkSize && bytesLeft() > 0;) {
        const auto count = static_cast<int>(std::min<std::size_t>(packetDataBytes, bytesLeft()));
        const auto packet = createPacket();
        const unsigned char header[packetHeaderBytes] = {packetReportId,
                                                         static_cast<unsigned char>(byteOf(offset, 0)),
                                                         static_cast<unsigned char>(byteOf(offset, 1)),
                                                         0x00,
                                                         0x00,
                                                         0x00,
                                                         0x01};
        const auto data = std::copy(std::begin(header), std::end(header), packet->begin());
        std::copy_n(reinterpret_cast<const unsigned char*>(image.constData()) + consumed, count, data);
        checkAborted();
        // A lost device is told by the abort flag, not by the result.
        noteTransfers(1, device->setFeatureBlocking(packet.get()));
        advance();
        consumed += static_cast<std::size_t>(count);
        Sleep(packetDelayMs);
        offset += count;
    }
}

void Flasher::eraseTransmitterFlash()
{
    place.phase = "erase";
    for (std::uint32_t address = 0; address < imageSize();
         address += static_cast<std::uint32_t>(sectorSize)) {
        writeControlBlock(HidUtilities::FlashAddressOffset, byteOf(address, 0), byteOf(address, 1),
                          byteOf(address, 2), byteOf(address, 3));
        advance();
        writeControlBlock(HidUtilities::LengthOffset, 0x01, 0x00);
        advance();
        qDebug("%s: Erasing Flash starting at 0x%.4X", name.c_str(), address);
        checkAborted();
        noteTransfers(1, HidUtilities::sendEraseCommand(device)); // paced by the delay
        advance();
        Sleep(sectorEraseDelayMs);
        advance();
    }
}

void Flasher::checkAborted() const
{
    if (aborted.load(std::memory_order_relaxed))
        throw FlashingError(FlashingError::DeviceLost);
}

void Flasher::advance()
{
    ++progress;
    Q_EMIT progressValueChanged(progress);
}

void Flasher::noteTransfers(int count, bool gotThrough)
{
    place.transfer += count;
    if (gotThrough) {
        lostAt = {};
        return;
    }
    // Not acted on; this line is all that tells of it where the run still ends well.
    qWarning("%s: Transfer %d did not get through, phase %s", name.c_str(), place.transfer, place.phase);
    if (lostAt.transfer == 0)
        lostAt = place;
}

bool Flasher::isTransmitter() const
{
    return nvmemType == DeviceType::Transmitter;
}

std::size_t Flasher::imageSize() const
{
    return static_cast<std::size_t>(image.size());
}

unsigned char Flasher::imageByte(int offset) const
{
    return static_cast<unsigned char>(image.at(offset));
}

std::size_t Flasher::bytesLeft() const
{
    return imageSize() - consumed;
}

template <typename... Bytes>
void Flasher::writeChipMemory(int addressLow, int addressHigh, Bytes... data)
{
    checkAborted();
    // A lost device is told by the abort flag, not by the result.
    noteTransfers(1, HidUtilities::writeMemory(device, addressLow, addressHigh, data...));
}

template <typename... Bytes>
void Flasher::writeControlBlock(int offset, Bytes... data)
{
    const unsigned address = (smData + static_cast<unsigned>(offset)) & 0xFFFF;
    writeChipMemory(byteOf(address, 0), byteOf(address, 1), data...);
}
