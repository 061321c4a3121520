#include "statuslabel.h"

#include <algorithm>
#include <cmath>

#include <QPainter>
#include <QStyle>

namespace {

constexpr int paddingPixels = 3; // also the radius of the ground's corners
constexpr double requiredContrast = 3;

/// WCAG 2.1, "relative luminance".
double luminance(const QColor& colour)
{
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

double contrast(const QColor& a, const QColor& b)
{
    const double ratio = (luminance(a) + 0.05) / (luminance(b) + 0.05);
    return std::max(ratio, 1 / ratio);
}

QColor lightestGround(const QColor& text)
{
    int shade = 255;
    while (shade > 0 && contrast(text, QColor(shade, shade, shade)) < requiredContrast)
        --shade;
    return QColor(shade, shade, shade);
}

} // namespace

StatusLabel::StatusLabel(QWidget* parent)
    : QLabel(parent)
{
    setContentsMargins(paddingPixels, 0, paddingPixels, 0);
}

void StatusLabel::paintEvent(QPaintEvent* event)
{
    const QColor colour = palette().color(foregroundRole());
    if (!text().isEmpty() && colour != parentWidget()->palette().color(foregroundRole())) {
        const int flags = static_cast<int>(alignment()) | (wordWrap() ? Qt::TextWordWrap : 0);
        const QRect textRect =
            style()->itemTextRect(fontMetrics(), contentsRect(), flags, isEnabled(), text());
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(lightestGround(colour));
        painter.drawRoundedRect(textRect.adjusted(-paddingPixels, 0, paddingPixels, 0), paddingPixels,
                                paddingPixels);
    }
    QLabel::paintEvent(event);
}
