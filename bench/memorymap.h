#pragma once

#include <cstdint>
#include <vector>

#include <QByteArray>
#include <QWidget>

/// A device's memory as a map of cells, each for as many bytes: dark where there is something else than the
/// image that the device is to get, empty where it is erased, and bright where the image is in place.
class MemoryMap : public QWidget
{
    Q_OBJECT

public:
    explicit MemoryMap(QWidget* parent = nullptr);

    /// Compares @p memory with @p image, over the image's length.
    void show(const std::vector<std::uint8_t>& memory, const QByteArray& image);

    /// Such as "8192 bytes, 50 % in place, 25 % erased".
    QString summary() const;

    /// What the colours mean, as rich text.
    static QString legend();

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    enum class Cell { Other, Erased, InPlace };

    Cell cellOf(std::size_t begin, std::size_t end) const;
    static QColor colourOf(Cell cell);
    int percentOf(Cell kind) const;

    std::vector<std::uint8_t> shownMemory;
    QByteArray wanted;
    std::vector<Cell> cells;
};
