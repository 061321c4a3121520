#pragma once

#include <QLabel>
#include <QPainter>
#include <QStyle>

/// A label of one line of plain text that leaves out the middle of a text it has no room for. Its text, and
/// with it what assistive technology reads, stays whole.
class ElidedLabel : public QLabel
{
public:
    using QLabel::QLabel;

    /// No width: every text has room.
    QSize minimumSizeHint() const override { return {0, QLabel::minimumSizeHint().height()}; }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        style()->drawItemText(&painter, contentsRect(), static_cast<int>(alignment()), palette(), isEnabled(),
                              fontMetrics().elidedText(text(), Qt::ElideMiddle, contentsRect().width()),
                              foregroundRole());
    }
};
