// Fuzzes the inspection of an image in memory. The inspection must end, read only the image, and have the
// same result with a reader that lends the bytes as with a reader that copies them.

#include "fuzztarget.h"

#include <algorithm>
#include <vector>

#include "firmwareutilities.h"

namespace {

/// Copies the requested bytes into a block of exactly their size, but at most @c maxBytes, as devices do.
class CopyingReader
{
public:
    CopyingReader(const QByteArray& copiedImage, int maxBytesPerRead)
        : image(copiedImage)
        , maxBytes(maxBytesPerRead)
    {
    }

    ReadDataFunction function()
    {
        return [this](QByteArray& buffer, unsigned int address, unsigned short size) {
            ++reads;
            const int count = std::min<int>(size, maxBytes);
            const auto imageBytes = static_cast<unsigned int>(image.size());
            if (address > imageBytes || static_cast<unsigned int>(count) > imageBytes - address)
                return false;
            block.assign(image.constData() + address, image.constData() + address + count);
            block.shrink_to_fit();
            buffer.setRawData(block.data(), static_cast<uint>(count));
            return true;
        };
    }

    int reads = 0;

private:
    const QByteArray& image;
    const int maxBytes;
    std::vector<char> block;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const FuzzTarget::SilentLog silence;
    constexpr int entryBytes = 4;
    constexpr int otherReads = 2 + 2 * 3 * (2 + 255 / 6); // two headers; twice, the records of three files
    constexpr int devicesDeliver = 32;
    const QByteArray image = FuzzTarget::lend(data, size);
    const ReadVersionDataHelper_FromFile lending(&image);
    const QString version = FirmwareUtilities::getVersion(lending);
    const unsigned short pid = FirmwareUtilities::getPid(lending);
    FuzzTarget::require(!version.isNull(), "a null version");

    CopyingReader whole(image, image.size());
    FuzzTarget::require(FirmwareUtilities::getVersion(whole.function()) == version &&
                            FirmwareUtilities::getPid(whole.function()) == pid,
                        "a copying reader gives another result");
    FuzzTarget::require(whole.reads <= 2 * (image.size() / entryBytes + 1) + otherReads, "too many reads");

    CopyingReader pieces(image, devicesDeliver);
    FirmwareUtilities::getVersion(pieces.function());
    FirmwareUtilities::getPid(pieces.function());
    return 0;
}
