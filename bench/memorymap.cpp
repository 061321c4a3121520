#include "memorymap.h"

#include <algorithm>

#include <QPainter>

namespace {

constexpr std::size_t columns = 48;
constexpr std::size_t rows = 8;
constexpr int smallestCell = 7;
constexpr std::uint8_t erasedByte = 0xFF;

const QColor otherColour(0x4a, 0x5a, 0x68);
const QColor erasedColour(0xff, 0xff, 0xff);
const QColor inPlaceColour(0x24, 0x87, 0xcc);
const QColor gridColour(0x7a, 0x8b, 0x9a);

} // namespace

MemoryMap::MemoryMap(QWidget* parent)
    : QWidget(parent)
    , cells(columns * rows, Cell::Other)
{
    setAccessibleName(tr("Memory"));
}

void MemoryMap::show(const std::vector<std::uint8_t>& memory, const QByteArray& image)
{
    if (memory == shownMemory && image == wanted)
        return;
    shownMemory = memory;
    wanted = image;
    const std::size_t size = std::min(memory.size(), static_cast<std::size_t>(image.size()));
    for (std::size_t i = 0; i < cells.size(); ++i)
        cells[i] = cellOf(i * size / cells.size(), (i + 1) * size / cells.size());
    setAccessibleDescription(summary());
    update();
}

/// What the bytes from @p begin to before @p end are altogether.
MemoryMap::Cell MemoryMap::cellOf(std::size_t begin, std::size_t end) const
{
    const auto first = shownMemory.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto last = shownMemory.begin() + static_cast<std::ptrdiff_t>(end);
    const auto* const image = reinterpret_cast<const std::uint8_t*>(wanted.constData());
    if (std::equal(first, last, image + begin))
        return Cell::InPlace;
    return std::all_of(first, last, [](std::uint8_t byte) { return byte == erasedByte; }) ? Cell::Erased
                                                                                          : Cell::Other;
}

QColor MemoryMap::colourOf(Cell cell)
{
    if (cell == Cell::InPlace)
        return inPlaceColour;
    return cell == Cell::Erased ? erasedColour : otherColour;
}

int MemoryMap::percentOf(Cell kind) const
{
    constexpr std::size_t hundred = 100;
    const auto count = static_cast<std::size_t>(std::count(cells.begin(), cells.end(), kind));
    return static_cast<int>(count * hundred / cells.size());
}

QString MemoryMap::summary() const
{
    if (wanted.isEmpty())
        return tr("no image for it in the archive");
    return tr("%1 bytes, %2 % in place, %3 % erased")
        .arg(wanted.size())
        .arg(percentOf(Cell::InPlace))
        .arg(percentOf(Cell::Erased));
}

QString MemoryMap::legend()
{
    const auto entry = [](const QColor& colour, const QString& text) {
        return QStringLiteral("<span style=\"color: %1\">\u25a0</span> %2").arg(colour.name(), text);
    };
    return QStringList{entry(inPlaceColour, tr("in place")), entry(erasedColour, tr("erased")),
                       entry(otherColour, tr("other"))}
        .join(QStringLiteral("&nbsp;&nbsp; "));
}

QSize MemoryMap::sizeHint() const
{
    return {static_cast<int>(columns) * smallestCell, static_cast<int>(rows) * smallestCell};
}

void MemoryMap::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), gridColour);
    const auto left = [this](std::size_t column) {
        return 1 + static_cast<int>(column) * (width() - 1) / int(columns);
    };
    const auto top = [this](std::size_t row) {
        return 1 + static_cast<int>(row) * (height() - 1) / int(rows);
    };
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::size_t column = i % columns;
        const std::size_t row = i / columns;
        const QRect cell(QPoint(left(column), top(row)), QPoint(left(column + 1) - 2, top(row + 1) - 2));
        painter.fillRect(cell, colourOf(cells[i]));
    }
}
