#include "photographer.h"

#include <QApplication>
#include <QIcon>
#include <QImage>
#include <QPainter>
#include <QWidget>

namespace {

constexpr int titleHeight = 30;
constexpr int titleMargin = 8;
constexpr int iconSize = 16;

/// @return @p picture in a frame with title and icon. All lengths are those of the screen, not of its pixels.
QPixmap framed(const QPixmap& picture, const QString& title)
{
    const qreal ratio = picture.devicePixelRatio();
    const QSize inner = picture.size() / ratio;
    const QSize outer(inner.width() + 2, inner.height() + titleHeight + 1);
    QPixmap result(outer * ratio);
    result.setDevicePixelRatio(ratio);
    const QColor frame(0x4a, 0x5a, 0x68);
    result.fill(frame);
    QPainter painter(&result);
    painter.drawPixmap(1, titleHeight, picture);
    QApplication::windowIcon().paint(&painter, titleMargin, (titleHeight - iconSize) / 2, iconSize, iconSize);
    painter.setPen(Qt::white);
    const QRect place(2 * titleMargin + iconSize, 0, outer.width() - 3 * titleMargin - iconSize, titleHeight);
    painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter, title);
    return result;
}

} // namespace

bool Photographer::save(const QString& path, QWidget& screen)
{
    constexpr int mostCompressed = 0;
    const bool hasTitle = screen.windowType() != Qt::Popup;
    const QPixmap picture = hasTitle ? framed(screen.grab(), screen.windowTitle()) : screen.grab();
    const QImage image = picture.toImage().convertToFormat(QImage::Format_RGB888); // for a small file
    return image.save(path, "PNG", mostCompressed);
}
