#include "verdict.h"

#include <algorithm>

#include "eventlog.h"
#include "imagebuilder.h"
#include "simulateddevice.h"

namespace {

constexpr int chunkBytes = 4096;
constexpr int packetBytes = 256;
constexpr qint64 packetDelayMs = 20;
constexpr qint64 transmitterCommitDelayMs = 50;
constexpr qint64 headsetCommitDelayMs = 1000;
constexpr qint64 sectorEraseDelayMs = 4000;
constexpr qint64 closingDelayMs = 2000 + 100 * 100;

qint64 piecesOf(qint64 bytes, qint64 pieceBytes)
{
    return (bytes + pieceBytes - 1) / pieceBytes;
}

} // namespace

Verdict::Verdict(DeviceType deviceType, SimulatedDevice& updatedDevice, QByteArray wantedImage)
    : type(deviceType)
    , device(updatedDevice)
    , image(std::move(wantedImage))
{
}

void Verdict::begin()
{
    versionBefore = version();
}

bool Verdict::isEqual() const
{
    return firstDifference() == image.size();
}

QString Verdict::text(int errorCode) const
{
    const QString name = nameOf(type);
    if (image.isEmpty())
        return QStringLiteral("%1: %2, no image in the archive").arg(name, version());
    const QString comparison =
        isEqual()
            ? QStringLiteral("equal")
            : QStringLiteral("first difference at 0x%1").arg(firstDifference(), 4, 16, QLatin1Char('0'));
    const QString error =
        errorCode == 0 ? QStringLiteral("no error") : QStringLiteral("error code %1").arg(errorCode);
    return QStringLiteral("%1: %2 -> %3, %4 bytes compared, %5, %6")
        .arg(name, versionBefore, version())
        .arg(image.size())
        .arg(comparison, error);
}

qint64 Verdict::prescribedDelaysMs() const
{
    const bool isTransmitter = type == DeviceType::Transmitter;
    const qint64 perCommit = isTransmitter ? transmitterCommitDelayMs : headsetCommitDelayMs;
    qint64 sum = piecesOf(image.size(), packetBytes) * packetDelayMs + commits() * perCommit + closingDelayMs;
    if (isTransmitter && image.size() >= 2) {
        const std::vector<std::uint8_t> header(image.begin(), image.begin() + 2);
        const auto hardware = SimulatedChip::hardwareFor(type, 0, 0, header);
        if (hardware.sectorSize > 0)
            sum += piecesOf(image.size(), hardware.sectorSize) * sectorEraseDelayMs;
    }
    return sum;
}

int Verdict::commits() const
{
    return static_cast<int>(piecesOf(image.size(), chunkBytes));
}

int Verdict::firstDifference() const
{
    const std::vector<std::uint8_t> memory = device.memory();
    const auto* const wanted = reinterpret_cast<const std::uint8_t*>(image.constData());
    const std::size_t size = std::min(memory.size(), static_cast<std::size_t>(image.size()));
    return static_cast<int>(std::mismatch(wanted, wanted + size, memory.begin()).first - wanted);
}

QString Verdict::version() const
{
    const auto identity = ImageBuilder::identityOf(device.memory());
    return identity ? QString::fromStdString(identity->version) : QStringLiteral("(no valid firmware)");
}
