// Fuzzes the parser of report descriptors. The results must be within bounds, and items without effect must
// not change the results.

#include "fuzztarget.h"

#include <algorithm>
#include <vector>

#include "reportdescriptor.h"

namespace {

constexpr std::size_t maxReportBytes = 16384;
constexpr std::uint8_t unknownItem = 0xC4;
constexpr std::uint8_t push = 0xA4;
constexpr std::uint8_t pop = 0xB4;

bool isSame(const ReportDescriptor& a, const ReportDescriptor& b)
{
    const auto isSameCollection = [](const HidCapabilities& x, const HidCapabilities& y) {
        return x.usagePage == y.usagePage && x.usage == y.usage &&
               x.featureReportBytes == y.featureReportBytes;
    };
    return a.fault == b.fault && std::equal(a.collections.begin(), a.collections.end(), b.collections.begin(),
                                            b.collections.end(), isSameCollection);
}

void requireBounds(const ReportDescriptor& descriptor, std::size_t size)
{
    FuzzTarget::require(!descriptor.collections.empty(), "the result has no collection");
    FuzzTarget::require(descriptor.collections.size() <= std::max<std::size_t>(size, 1),
                        "the result has more collections than the descriptor has bytes");
    for (const HidCapabilities& collection : descriptor.collections) {
        FuzzTarget::require(collection.featureReportBytes <= maxReportBytes,
                            "a feature report is longer than the kernel accepts");
        FuzzTarget::require(collection.featureReportBytes != 1, "a feature report has no data");
        FuzzTarget::require(descriptor.fault.empty() || collection.featureReportBytes == 0,
                            "a faulty descriptor has feature reports");
    }
}

/// Surrounds a valid descriptor with items that have no effect (an unknown item, Push and Pop) and parses it
/// again. Ends the process if the result changes.
void requireSameWhenDecorated(const std::vector<std::uint8_t>& bytes, const ReportDescriptor& descriptor)
{
    std::vector<std::uint8_t> decorated{unknownItem, push, pop, push};
    decorated.insert(decorated.end(), bytes.begin(), bytes.end());
    decorated.push_back(pop);
    const ReportDescriptor again = ReportDescriptor::parse(decorated.data(), decorated.size());
    FuzzTarget::require(isSame(again, descriptor), "items without effect change the result");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::vector<std::uint8_t> bytes(data, data + size);
    const ReportDescriptor descriptor = ReportDescriptor::parse(bytes.data(), bytes.size());
    requireBounds(descriptor, size);
    if (descriptor.fault.empty())
        requireSameWhenDecorated(bytes, descriptor);
    return 0;
}
