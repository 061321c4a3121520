#include "hiddescriptor.h"

namespace {

// The short items of a report descriptor (HID 1.11 sections 6.2.2.4 to 6.2.2.8). The two lowest bits of an
// item are the number of its data bytes.
enum Item : std::uint8_t {
    UsagePage = 0x06,
    Usage = 0x0A,
    LogicalMinimum = 0x15,
    LogicalMaximum = 0x26,
    ReportSize = 0x75,
    ReportId = 0x85,
    ReportCount = 0x96,
    Collection = 0xA1,
    Input = 0x81,
    Feature = 0xB1,
    EndCollection = 0xC0
};
constexpr std::uint16_t application = 0x01;
constexpr std::uint16_t variable = 0x02; // flags of a field: data, variable, absolute
constexpr std::uint16_t volumeIncrement = 0xE9;
constexpr std::uint16_t bitsPerByte = 8;

using Bytes = std::vector<std::uint8_t>;

void add(Bytes& bytes, Item item, std::uint16_t value)
{
    constexpr unsigned sizeBits = 3;
    bytes.push_back(item);
    for (unsigned i = 0; i < (item & sizeBits); ++i)
        bytes.push_back(static_cast<std::uint8_t>(value >> i * bitsPerByte));
}

void addField(Bytes& bytes, Item kind, std::uint16_t usage, std::uint16_t maximum, std::uint16_t count)
{
    add(bytes, Usage, usage);
    add(bytes, LogicalMinimum, 0);
    add(bytes, LogicalMaximum, maximum);
    add(bytes, ReportSize, bitsPerByte);
    add(bytes, ReportCount, count);
    add(bytes, kind, variable);
}

} // namespace

std::vector<std::uint8_t> reportDescriptorOf(const HidInterface& hid)
{
    Bytes bytes;
    add(bytes, UsagePage, hid.usagePage);
    add(bytes, Usage, hid.usage);
    add(bytes, Collection, application);
    for (const FeatureReportFormat& report : hid.featureReports) {
        add(bytes, ReportId, report.id);
        addField(bytes, Feature, hid.usage, 0xFF, report.dataBytes);
    }
    if (hid.featureReports.empty())
        addField(bytes, Input, volumeIncrement, 1, 1);
    add(bytes, EndCollection, 0);
    return bytes;
}
