#include "elidedlabel.h"

#include <QPainter>
#include <QStyle>

QSize ElidedLabel::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

void ElidedLabel::paintEvent(QPaintEvent*)
{
    const QRect area = contentsRect();
    QPainter painter(this);
    style()->drawItemText(&painter, area, static_cast<int>(alignment()), palette(), isEnabled(),
                          fontMetrics().elidedText(text(), Qt::ElideMiddle, area.width()), foregroundRole());
}
