#include "statuslabel.h"

#include <algorithm>
#include <cmath>

#include <QPainter>
#include <QStyle>

namespace {

constexpr int paddingPixels = 3; // left and right of the text; also the radius of the background's corners
constexpr double requiredContrast = 4.5;

/// Computes what WCAG 2.1 calls "relative luminance".
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

/// Of the greys that have the required contrast to @p text, returns the one nearest to @p desktop. The loop
/// always ends, because any colour has this contrast to black or to white.
QColor nearestSufficientShade(const QColor& text, const QColor& desktop)
{
    const int desktopShade = qGray(desktop.rgb());
    for (int distance = 0;; ++distance) {
        for (const int shade : {desktopShade - distance, desktopShade + distance}) {
            const int inRange = std::clamp(shade, 0, 255);
            QColor background(inRange, inRange, inRange);
            if (contrast(text, background) >= requiredContrast)
                return background;
        }
    }
}

} // namespace

StatusLabel::StatusLabel(QWidget* parent)
    : QLabel(parent)
{
}

std::optional<QColor> StatusLabel::textBackground() const
{
    const QColor colour = palette().color(foregroundRole());
    const QColor desktop = palette().color(backgroundRole());
    const bool hasOwnColour = colour != parentWidget()->palette().color(foregroundRole());
    if (!hasOwnColour || !isEnabled() || contrast(colour, desktop) >= requiredContrast)
        return std::nullopt;
    return nearestSufficientShade(colour, desktop);
}

void StatusLabel::changeEvent(QEvent* event)
{
    QLabel::changeEvent(event);
    // A text without a background gets no margin, so that it lines up with the texts above and below it.
    const int margin = textBackground() ? paddingPixels : 0;
    setContentsMargins(margin, 0, margin, 0);
}

void StatusLabel::paintEvent(QPaintEvent* event)
{
    const std::optional<QColor> background = textBackground();
    if (background && !text().isEmpty()) {
        const int flags = static_cast<int>(alignment()) | (wordWrap() ? Qt::TextWordWrap : 0);
        const QRect textRect =
            style()->itemTextRect(fontMetrics(), contentsRect(), flags, isEnabled(), text());
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(*background);
        painter.drawRoundedRect(textRect.adjusted(-paddingPixels, 0, paddingPixels, 0), paddingPixels,
                                paddingPixels);
    }
    QLabel::paintEvent(event);
}
