#include "hiddescriptor.h"

namespace {

// Short items with one or two data bytes (HID 1.11 sections 6.2.2.4 to 6.2.2.8).
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
constexpr std::uint8_t application = 0x01;
constexpr std::uint8_t variable = 0x02; // data, variable, absolute
constexpr std::uint16_t volumeIncrement = 0xE9;

class Writer
{
public:
    void byteItem(Item item, std::uint8_t value) { bytes.insert(bytes.end(), {item, value}); }
    void wordItem(Item item, std::uint16_t value)
    {
        bytes.insert(bytes.end(),
                     {item, static_cast<std::uint8_t>(value & 0xFF), static_cast<std::uint8_t>(value >> 8)});
    }
    void field(Item kind, std::uint16_t usage, std::uint16_t maximum, std::uint8_t bits, std::uint16_t count)
    {
        wordItem(Usage, usage);
        byteItem(LogicalMinimum, 0);
        wordItem(LogicalMaximum, maximum);
        byteItem(ReportSize, bits);
        wordItem(ReportCount, count);
        byteItem(kind, variable);
    }

    std::vector<std::uint8_t> bytes;
};

} // namespace

std::vector<std::uint8_t> reportDescriptorOf(const HidInterface& hid)
{
    Writer writer;
    writer.wordItem(UsagePage, hid.usagePage);
    writer.wordItem(Usage, hid.usage);
    writer.byteItem(Collection, application);
    for (const FeatureReportFormat& report : hid.featureReports) {
        writer.byteItem(ReportId, report.id);
        writer.field(Feature, hid.usage, 0xFF, 8, report.dataBytes);
    }
    if (hid.featureReports.empty()) {
        constexpr std::uint8_t bitsPerByte = 8;
        writer.field(Input, volumeIncrement, 1, bitsPerByte, 1);
    }
    writer.bytes.push_back(EndCollection);
    return writer.bytes;
}
