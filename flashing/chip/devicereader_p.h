#pragma once

#include <cstdint>
#include <memory>

#include <QByteArray>

#include "chipchannel.h"

struct ChipModel;

/// Reads the firmware image that is stored in a device. Can be used as a ReadDataFunction. All copies of a
/// reader share its device.
///
/// On request the chip copies image bytes into a RAM buffer, in rows of 16 bytes that are 0x1000 apart. One
/// call reads at most 32 bytes and blocks for 100 ms per row. A reader gives up after 256 calls. No real
/// image needs so many, but the file table of a damaged image may cause more.
class ReadDataHelper_FromDevice
{
public:
    /// The owner of this flag sets it when the result is not needed any more. From then on no
    /// transfer starts.
    using Cancelled = ChipChannel::Cancelled;

    /// Reads the chip's identifier and revision, then the image's first byte, which gives the memory's size.
    /// Blocks for several transfers. If the chip is not known, no image bytes are read and nothing is
    /// written to the chip.
    ReadDataHelper_FromDevice(std::shared_ptr<AbstractHidDevice> hidDevice, Cancelled isCancelled);

    /// Replaces the contents of @p data with @p size bytes of the image, at most 32, from @p address on.
    /// @return false if the chip is not known, the range ends beyond the device's memory, a transfer fails or
    ///         the reader has given up.
    bool operator()(QByteArray& data, unsigned int address, unsigned short size);

private:
    static constexpr int maxReads = 256;

    bool appendRow(QByteArray& data, unsigned address, int count) const;

    std::shared_ptr<AbstractHidDevice> device;
    int readsLeft = maxReads;
    const ChipModel* model = nullptr; ///< null if the chip is not known
    std::uint32_t capacity = 0;       ///< number of image bytes that may be read
};
