#include "progressglow.h"

#include <QEvent>
#include <QLinearGradient>
#include <QPainter>
#include <QProgressBar>

namespace {

constexpr int passMs = 1600;
constexpr int stepMs = 50; // 20 pictures in a second look smooth and leave the window its time
constexpr int endless = 0;
constexpr qreal bandShare = 0.3; // of the bar's width
constexpr int litAlpha = 110;

} // namespace

ProgressGlow::ProgressGlow(QProgressBar* bar)
    : QWidget(bar)
    , progressBar(bar)
    , pass(passMs)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setGeometry(bar->rect());
    bar->installEventFilter(this);
    pass.setUpdateInterval(stepMs);
    pass.setEasingCurve(QEasingCurve::Linear);
    pass.setLoopCount(endless);
    connect(&pass, &QTimeLine::valueChanged, this, [this] { update(); });
    pass.start();
    show();
}

bool ProgressGlow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize)
        setGeometry(progressBar->rect());
    return QWidget::eventFilter(watched, event);
}

void ProgressGlow::paintEvent(QPaintEvent*)
{
    const int steps = progressBar->maximum() - progressBar->minimum();
    if (steps <= 0)
        return;
    const int filled = width() * (progressBar->value() - progressBar->minimum()) / steps;
    paintBand(QRect(0, 0, filled, height()), palette().color(QPalette::Base));
    paintBand(QRect(filled, 0, width() - filled, height()), palette().color(QPalette::Highlight));
}

/// Paints the part of the light that lies within @p area, in a colour that stands out there.
void ProgressGlow::paintBand(const QRect& area, QColor colour)
{
    const qreal bandWidth = width() * bandShare;
    const qreal begin = pass.currentValue() * (width() + bandWidth) - bandWidth;
    QLinearGradient gradient(begin, 0, begin + bandWidth, 0);
    colour.setAlpha(0);
    gradient.setColorAt(0, colour);
    gradient.setColorAt(1, colour);
    colour.setAlpha(litAlpha);
    gradient.setColorAt(0.5, colour);
    QPainter(this).fillRect(area, gradient);
}
