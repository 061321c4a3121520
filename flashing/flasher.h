#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <QByteArray>
#include <QObject>

class AbstractHidDevice;

/// Writes one firmware image into one device that is in programming mode.
///
/// Lives on a worker thread and does all its work in operate(), which blocks that thread for as long as the
/// chip needs: fixed delays, not answers, set the pace. Use an object for one run.
class Flasher : public QObject
{
    Q_OBJECT

public:
    explicit Flasher(std::shared_ptr<AbstractHidDevice> hidDevice);

    /// Makes the sequence end with code 1 before its next transfer. Callable on any thread.
    void abort();

    /// A place in the sequence.
    struct Place
    {
        const char* phase = "identify";
        int transfer = 0; ///< the number of the last feature report of the run, from 1
    };
    /// Where the run ended; where it lost the device, the first transfer that did not get through any more.
    /// To be asked after the run's last signal, or in a slot that it calls directly.
    Place endOfRun() const { return lostAt.transfer > 0 ? lostAt : place; }

public Q_SLOTS:
    /// Runs the whole sequence with image @p firmware, then releases the device.
    /// @param memoryType  the DeviceType value: 1 for the transmitter, whose flash is erased first.
    void operate(QByteArray firmware, int memoryType);

Q_SIGNALS:
    void flashingStarted();
    void flashingError(int code); ///< FlashingError::Code; the last signal of a run
    void flashingFinished();      ///< the last signal of a run
    void progressRangeChanged(int min, int max);
    void progressValueChanged(int value); ///< may pass the maximum by a few steps

private:
    void program();
    void detectSizes();
    void setupProgressRange();
    void configurePinmux();
    void calculateRamSize();
    void startProgramming();
    void eraseTransmitterFlash();
    void downloadToRam(int chunkSize);
    std::unique_ptr<std::vector<unsigned char>> createPacket();
    void commitChunk(std::uint32_t address, int chunkSize);
    void checkAborted() const;
    void advance();
    void noteTransfers(int count, bool gotThrough);
    bool isTransmitter() const;
    std::size_t imageSize() const;
    unsigned char imageByte(int offset) const;
    std::size_t bytesLeft() const;

    template <typename... Bytes>
    void writeChipMemory(int addressLow, int addressHigh, Bytes... data);
    template <typename... Bytes>
    void writeControlBlock(int offset, Bytes... data);

    std::shared_ptr<AbstractHidDevice> device;
    QByteArray image;         ///< the caller's bytes, not a second copy of them
    std::size_t consumed = 0; ///< bytes of the image that were sent
    int nvmemType = 0;
    std::string name;
    std::atomic<bool> aborted{false};
    Place place;
    Place lostAt; ///< the first of the failing transfers up to now; transfer 0 where the last got through
    int progress = 0;
    int chipId = 0;
    int chipRevision = 0;
    std::uint32_t deviceSize = 0;
    int pageSize = 0;
    int sectorSize = 0;
    unsigned short smData = 0;
    unsigned short ramBase = 0;
    int ramSize = 0;
};
