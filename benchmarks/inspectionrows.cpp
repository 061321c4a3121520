// Rows about reading an image's identity; this program counts what is taken from the heap.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include <QByteArray>
#include <QtEndian>

#include "archivebuilder.h"
#include "comparison.h"
#include "firmwareutilities.h"

using namespace Comparison;

namespace {

std::atomic<std::size_t> heapBytes{0};

} // namespace

// In place of the C library's, which are what they call.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier)
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* memory, std::size_t bytes);
// NOLINTEND(bugprone-reserved-identifier)

void* malloc(std::size_t bytes) noexcept
{
    heapBytes += bytes;
    return __libc_malloc(bytes);
}

void* calloc(std::size_t count, std::size_t bytes) noexcept
{
    heapBytes += count * bytes;
    return __libc_calloc(count, bytes);
}

void* realloc(void* memory, std::size_t bytes) noexcept
{
    heapBytes += bytes;
    return __libc_realloc(memory, bytes);
}
}

namespace {

constexpr int kib = 1024;

/// An image whose file table fills it, and ends with what identifies it.
QByteArray imageOf(int bytes)
{
    constexpr int fileBytes = 60 * kib;
    ImageOptions options = ImageBuilder::transmitter();
    for (int filled = 0; filled + fileBytes < bytes; filled += fileBytes)
        options.entries.push_back(ImageBuilder::fileEntry(0x23, std::string(fileBytes, '\x22')));
    options.entries.push_back(ImageBuilder::versionEntry("1.2.3,release"));
    options.entries.push_back(ImageBuilder::usbDescriptorEntry(0x0C, 0x7A31, 0x0004));
    options.size = bytes;
    return toByteArray(ImageBuilder::build(options));
}

void inspect(const QByteArray& image)
{
    const ReadVersionDataHelper_FromFile reader(&image);
    require(FirmwareUtilities::getVersion(reader) == QLatin1String("1.2.3") &&
                FirmwareUtilities::getPid(reader) == 0x0004,
            "the image is not recognised");
}

void passOverHeaders(const QByteArray& image)
{
    constexpr int firstFile = 5;
    constexpr int entryBytes = 4;
    constexpr char endOfTable = 0x55;
    const auto wordAt = [&](int at) { return qFromLittleEndian<std::uint16_t>(image.constData() + at); };
    int at = firstFile + wordAt(3);
    while (image.at(at) != endOfTable)
        at += wordAt(at + 1) + entryBytes;
    require(at < image.size(), "the table has no end");
}

double heapBytesOf(const Work& work)
{
    const std::size_t before = heapBytes;
    work();
    return static_cast<double>(heapBytes - before);
}

void ignoreMessages()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
}

MakePair heapPairs()
{
    ignoreMessages();
    const QByteArray small = imageOf(128 * kib);
    const QByteArray large = imageOf(960 * kib); // where addresses still have as many digits in the log
    inspect(small);                              // the first use of anything takes memory for good
    return [small, large] {
        return Pair{heapBytesOf([&] { inspect(large); }), heapBytesOf([&] { inspect(small); })};
    };
}

MakePair timePairs()
{
    ignoreMessages();
    const QByteArray image = imageOf(2048 * kib);
    return alternately([image] { inspect(image); }, [image] { passOverHeaders(image); });
}

[[maybe_unused]] const bool added =
    add({"heap bytes for the identity of a 960 KiB image", "of a 128 KiB image", "B", 1, 5}, heapPairs) &&
    add({"identity of a 2 MiB image", "one pass over its file headers", "s", 0, 101}, timePairs);

} // namespace
