#include "reportdescriptor.h"

#include <algorithm>
#include <map>

namespace {

constexpr std::size_t maxReportBytes = 16384; // the kernel's HID_MAX_BUFFER_SIZE

constexpr std::uint8_t longItemPrefix = 0xFE; // reserved: HID defines no long items
constexpr int usagePageBits = 16;
constexpr std::uint64_t bitsPerByte = 8;

constexpr std::uint8_t typeMask = 0x0C;
constexpr std::uint8_t mainType = 0;

/// Tag and type of an item, as in its prefix byte (HID 1.11 sections 6.2.2.4, 6.2.2.7 and 6.2.2.8).
enum Item : std::uint8_t {
    FeatureItem = 0xB0,
    CollectionItem = 0xA0,
    EndCollectionItem = 0xC0,
    UsagePageItem = 0x04,
    ReportSizeItem = 0x74,
    ReportIdItem = 0x84,
    ReportCountItem = 0x94,
    PushItem = 0xA4,
    PopItem = 0xB4,
    UsageItem = 0x08,
};

/// The state that global items set. A Push item saves the state, and a Pop item restores it.
struct Globals
{
    std::uint16_t usagePage = 0;
    std::uint32_t reportSize = 0; ///< length of a field in bits
    std::uint32_t reportCount = 0;
    std::uint32_t reportId = 0; ///< 0 if reports have no ID
};

class Parser
{
public:
    ReportDescriptor parse(const std::uint8_t* bytes, std::size_t size)
    {
        std::size_t at = 0;
        while (at < size && !isDamaged)
            at += readItem(bytes + at, size - at);
        std::vector<HidCapabilities>& collections = result.collections;
        if (isDamaged || depth > 0 || collections.empty())
            result.fault = "is damaged";
        else if (std::all_of(collections.begin(), collections.end(),
                             [](const HidCapabilities& c) { return c.featureReportBytes == 0; }))
            result.fault = "has no feature report";
        if (collections.empty())
            collections.emplace_back();
        if (!result.fault.empty()) {
            for (HidCapabilities& collection : collections)
                collection.featureReportBytes = 0;
        }
        return std::move(result);
    }

private:
    /// @return the item's length in bytes.
    std::size_t readItem(const std::uint8_t* bytes, std::size_t available)
    {
        const std::uint8_t prefix = bytes[0];
        const std::size_t length = 1 + ((prefix & 3) == 3 ? 4 : prefix & 3);
        if (length > available || prefix == longItemPrefix) {
            isDamaged = true;
            return available;
        }
        std::uint32_t value = 0;
        for (std::size_t i = length; i > 1; --i)
            value = value << bitsPerByte | bytes[i - 1];
        take(static_cast<std::uint8_t>(prefix & ~3), value, length - 1);
        return length;
    }

    void take(std::uint8_t item, std::uint32_t value, std::size_t valueBytes)
    {
        switch (item) {
        case UsagePageItem:
            globals.usagePage = static_cast<std::uint16_t>(value);
            break;
        case ReportSizeItem:
            globals.reportSize = value;
            break;
        case ReportCountItem:
            globals.reportCount = value;
            break;
        case ReportIdItem:
            globals.reportId = value;
            break;
        case PushItem:
            pushed.push_back(globals);
            break;
        case PopItem:
            pop();
            break;
        case UsageItem:
            setUsage(value, valueBytes);
            break;
        case CollectionItem:
            startCollection();
            break;
        case EndCollectionItem:
            endCollection();
            break;
        case FeatureItem:
            addFeature();
            break;
        default:
            break; // no other item affects the result
        }
        if ((item & typeMask) == mainType)
            hasUsage = false; // a local item applies only up to the next main item
    }

    /// If several usages precede a collection, the first one is the collection's usage. A usage of 4 bytes
    /// includes its usage page.
    void setUsage(std::uint32_t value, std::size_t valueBytes)
    {
        if (hasUsage)
            return;
        hasUsage = true;
        usage = static_cast<std::uint16_t>(value);
        pageOfUsage = valueBytes == sizeof(value) ? value >> usagePageBits : 0;
    }

    void pop()
    {
        if (pushed.empty()) {
            isDamaged = true;
            return;
        }
        globals = pushed.back();
        pushed.pop_back();
    }

    void startCollection()
    {
        if (depth++ > 0)
            return;
        HidCapabilities collection;
        collection.usage = hasUsage ? usage : 0;
        collection.usagePage =
            hasUsage && pageOfUsage != 0 ? static_cast<std::uint16_t>(pageOfUsage) : globals.usagePage;
        result.collections.push_back(collection);
        featureBits.clear();
    }

    void endCollection()
    {
        if (depth == 0)
            isDamaged = true;
        else
            --depth;
    }

    void addFeature()
    {
        if (depth == 0) {
            isDamaged = true;
            return;
        }
        std::uint64_t& bits = featureBits[globals.reportId];
        bits += std::uint64_t(globals.reportSize) * globals.reportCount;
        const std::uint64_t bytes = 1 + (bits + bitsPerByte - 1) / bitsPerByte; // 1 for the report ID
        if (bytes > maxReportBytes) {
            isDamaged = true;
            return;
        }
        std::uint16_t& longest = result.collections.back().featureReportBytes;
        if (bits > 0)
            longest = std::max(longest, static_cast<std::uint16_t>(bytes));
    }

    ReportDescriptor result;
    bool isDamaged = false; ///< ends the parsing
    Globals globals;
    std::vector<Globals> pushed;
    std::size_t depth = 0;
    std::map<std::uint32_t, std::uint64_t> featureBits; ///< by report ID, in the current top-level collection
    bool hasUsage = false;
    std::uint16_t usage = 0;
    std::uint32_t pageOfUsage = 0; ///< 0 if the usage includes no usage page
};

} // namespace

ReportDescriptor ReportDescriptor::parse(const std::uint8_t* bytes, std::size_t size)
{
    return Parser().parse(bytes, size);
}
