#pragma once

#include <cstdint>
#include <memory>

#include <QByteArray>

#include "chipchannel.h"

struct ChipModel;

/// Reads the firmware image stored in a device, as a reader callback of image inspection. Copies share the
/// device.
///
/// The chip copies image bytes into a RAM buffer on request, in rows of 16 bytes that are 0x1000 apart. One
/// call reads at most 32 bytes and blocks for 100 ms per row. After 256 calls a reader gives up: no real
/// image needs as many, but the file table of a damaged one may.
class ReadDataHelper_FromDevice
{
public:
    /// Set once nobody waits for what is read any more. No transfer starts then.
    using Cancelled = ChipChannel::Cancelled;

    /// Asks the chip for its kind and the image for the size of its memory; blocks for several transfers.
    /// Nothing is read from a chip that is not known, and nothing written to it.
    ReadDataHelper_FromDevice(std::shared_ptr<AbstractHidDevice> hidDevice, Cancelled isCancelled);

    /// Replaces @p data by the @p size bytes at image address @p address; of more than 32 only the first 32.
    /// @return false if the range ends beyond the device's memory or a transfer fails.
    bool operator()(QByteArray& data, unsigned int address, unsigned short size);

private:
    static constexpr int maxReads = 256;

    bool appendRow(QByteArray& data, unsigned address, int count) const;

    std::shared_ptr<AbstractHidDevice> device;
    int readsLeft = maxReads;
    const ChipModel* model = nullptr; ///< null if it is not known
    std::uint32_t capacity = 0;       ///< image bytes that may be read
};
