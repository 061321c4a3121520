// Fuzzes the search for version and product in a device that answers with arbitrary bytes. The search must
// end in bounded time, and send only the requests needed to load bytes of the image and to read them.

#include "fuzztarget.h"

#include <algorithm>

#include "accessbits.h"
#include "devicereader_p.h"
#include "firmwareutilities.h"
#include "scriptedhid.h"
#include "utilities.h"

namespace {

constexpr int operationOffset = 8;
constexpr int countOffset = 11; // offset of the byte count in a read request
constexpr std::uint32_t enoughMs = 120 * 1000;

/// A chip that answers with bytes of the fuzz input. For each answer the chip takes one byte that selects the
/// kind of answer, and one byte for each requested byte. For a short answer it also takes one byte as the
/// length. After the end of the input the chip either answers with zeros or fails; the first byte of the
/// input selects which.
class LyingChip
{
public:
    LyingChip(ScriptedHid& function, const std::uint8_t* data, std::size_t size)
        : hid(function)
        , next(data)
        , end(data + size)
    {
        answersOn = take() % 2 == 0;
        hid.onSet = [this](const QByteArray& report) { accept(report); };
        hid.answer = [this](const QByteArray& entry) { return answer(entry); };
    }

private:
    enum Kind : std::uint8_t { Fails, NoData, Short, Oversized, Whole };

    void accept(const QByteArray& report)
    {
        const auto operation = static_cast<std::uint8_t>(report.at(operationOffset));
        FuzzTarget::require(operation == 0x00 || operation == 0x81 || operation == 0x84,
                            "inspection sends more than requests to load and read");
        asked = static_cast<std::uint8_t>(report.at(countOffset));
    }

    QByteArray answer(const QByteArray& entry)
    {
        constexpr int statusOffset = 1;
        constexpr int dataOffset = 11;
        const bool isOver = next == end;
        const std::uint8_t kind = isOver ? std::uint8_t{answersOn ? Whole : Fails} : take();
        hid.getError = kind == Fails ? ERROR_GEN_FAILURE : ERROR_SUCCESS;
        QByteArray report = entry;
        report[statusOffset] = static_cast<char>(kind == NoData);
        const int count = std::min(asked, entry.size() - dataOffset);
        for (int i = 0; i < count; ++i)
            report[dataOffset + i] = static_cast<char>(take());
        if (kind == Short)
            return report.left(take());
        return kind == Oversized ? report + report : report;
    }

    std::uint8_t take() { return next == end ? 0 : *next++; }

    ScriptedHid& hid;
    const std::uint8_t* next;
    const std::uint8_t* const end;
    bool answersOn;
    int asked = 0;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    HidFixture f;
    const LyingChip chip(*f.hid, data, size);
    const auto device = Utilities::openHidDeviceByPath(f.path, Access::ReadWrite, Access::Read);
    FuzzTarget::require(device != nullptr, "cannot open the device");
    const ReadDataHelper_FromDevice reader(device, std::make_shared<const std::atomic<bool>>(false));
    FirmwareUtilities::getPid(reader);
    FuzzTarget::require(!FirmwareUtilities::getVersion(reader).isNull(),
                        "the version is null instead of empty");
    FuzzTarget::require(f.clock.tickCount() < enoughMs, "inspection takes too long");
    return 0;
}
