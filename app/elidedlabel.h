#pragma once

#include <QLabel>

/// A label of one line of plain text that leaves out the middle of a text it has no room for. Its text, and
/// with it what assistive technology reads, stays whole.
class ElidedLabel : public QLabel
{
public:
    using QLabel::QLabel;

    /// No width: every text has room.
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};
