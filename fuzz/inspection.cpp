// Fuzzes the search for version and product in an image in memory. The search must end and must not read
// outside the image. A reader that lends the bytes and a reader that copies them must give the same result.

#include "fuzztarget.h"

#include <vector>

#include "firmwareutilities.h"

namespace {

/// Copies the requested bytes into a block of exactly their size, so that the sanitizer sees overruns.
class CopyingReader
{
public:
    explicit CopyingReader(const QByteArray& copiedImage)
        : image(copiedImage)
    {
    }

    ReadDataFunction function()
    {
        return [this](QByteArray& buffer, unsigned int address, unsigned short size) {
            ++reads;
            const auto imageBytes = static_cast<unsigned int>(image.size());
            if (address > imageBytes || size > imageBytes - address)
                return false;
            block.assign(image.constData() + address, image.constData() + address + size);
            block.shrink_to_fit();
            buffer.setRawData(block.data(), size);
            return true;
        };
    }

    int reads = 0;

private:
    const QByteArray& image;
    std::vector<char> block;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr int entryBytes = 4;
    constexpr int otherReads = 2 + 2 * 3 * (2 + 255 / 6); // a function reads the header and at most 3 files
    const QByteArray image = FuzzTarget::lend(data, size);
    const ReadVersionDataHelper_FromFile lending(&image);
    const QString version = FirmwareUtilities::getVersion(lending);
    const unsigned short pid = FirmwareUtilities::getPid(lending);
    FuzzTarget::require(!version.isNull(), "the version is null instead of empty");

    CopyingReader copying(image);
    FuzzTarget::require(FirmwareUtilities::getVersion(copying.function()) == version &&
                            FirmwareUtilities::getPid(copying.function()) == pid,
                        "a copying reader gives another result");
    FuzzTarget::require(copying.reads <= 2 * (image.size() / entryBytes + 1) + otherReads, "too many reads");
    return 0;
}
