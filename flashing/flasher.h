#pragma once

#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include <QByteArray>
#include <QObject>

#include "chipchannel.h"
#include "chipmodel.h"
#include "hidutilities.h"
#include "imagegeometry.h"

/// Writes one firmware image into one device that is in programming mode.
///
/// Lives on a worker thread. operate() does all the work and blocks that thread for as long as the chip
/// needs. Use each object for one run of operate(). The run waits for fixed delays, not for answers. If the
/// system asks for an orderly removal of the device, the detector closes the device, and the run ends as if
/// it were aborted. The run ends even if the removal is then refused.
class Flasher : public QObject
{
    Q_OBJECT

public:
    using Place = ChipChannel::Place;

    explicit Flasher(std::shared_ptr<AbstractHidDevice> hidDevice);

    /// Makes the run fail with code 1 at its next check. The run checks for an abort at its start and before
    /// each chip write, data packet, erase and commit. The run does not check between the reads of the chip's
    /// identifier and revision, nor before the request that ends programming. May be called on any thread.
    void abort();

    /// Returns the place where the run ended. If the run ended in a series of failed transfers, returns the
    /// place of the first failure in that series. Call endOfRun() in a slot that is directly connected to the
    /// run's last signal, because the run releases the device after that signal.
    Place endOfRun() const { return device ? device->place() : Place(); }

public Q_SLOTS:
    /// Programs the device with the image @p firmware, then releases the device.
    /// @param memoryType  the DeviceType of the device. The flash of a transmitter is erased first.
    void operate(QByteArray firmware, int memoryType);

Q_SIGNALS:
    void flashingStarted();       ///< never emitted
    void flashingError(int code); ///< last signal of a failed run; @p code is a FlashingError::Code
    void flashingFinished();      ///< last signal of a successful run
    void progressRangeChanged(int min, int max);
    void progressValueChanged(int value); ///< @p value may exceed the maximum by a few steps

private:
    void program();
    void detectSizes(int chipId, int chipRevision);
    void setupProgressRange();
    void configurePinmux();
    void calculateRamSize();
    void startProgramming();
    void eraseTransmitterFlash();
    void downloadToRam(std::uint32_t chunkSize);
    std::unique_ptr<std::vector<unsigned char>> createPacket();
    void commitChunk(std::uint32_t address, std::uint32_t chunkSize);
    void checkAborted() const;
    void checkOpen() const;
    void advance();
    bool isTransmitter() const;
    std::uint32_t imageSize() const;
    std::uint32_t bytesLeft() const;

    std::uint32_t pageSize() const;
    std::uint32_t sectorSize() const;
    void writeChipMemory(unsigned short address, const std::vector<unsigned char>& data);
    void writeChipMemory(std::initializer_list<HidUtilities::ControlValue> values);

    std::shared_ptr<ChipChannel> device;
    QByteArray image;           ///< shares the caller's bytes
    std::uint32_t consumed = 0; ///< number of image bytes that were sent
    int nvmemType = 0;
    std::string name;
    std::atomic<bool> aborted{false};
    int progress = 0;
    ImageGeometry geometry = {}; ///< detectSizes() sets the geometry and the model
    const ChipModel* model = nullptr;
};
