#pragma once

#include <algorithm>

#include <QLabel>
#include <QPainter>
#include <QStyle>

/// A label for plain text. It breaks lines between any two characters, so the text fits any width. If the
/// text needs more height than the label has, the label uses a smaller font, down to 4 points.
class WrappedLabel : public QLabel
{
public:
    explicit WrappedLabel(QWidget* parent)
        : QLabel(parent)
    {
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
        setWordWrap(true); // makes the layout call heightForWidth()
    }

    QSize minimumSizeHint() const override
    {
        constexpr int usefulWidth = 250; // in pixels, for a text of several lines
        return {std::min(fontMetrics().horizontalAdvance(text()), usefulWidth), fontMetrics().height()};
    }
    int heightForWidth(int width) const override { return textHeight(font(), width); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        constexpr qreal smallestPoints = 4;
        QFont fitting = font();
        while (textHeight(fitting, width()) > height() && fitting.pointSizeF() > smallestPoints)
            fitting.setPointSizeF(fitting.pointSizeF() - 0.5);
        QPainter painter(this);
        painter.setFont(fitting);
        style()->drawItemText(&painter, contentsRect(), flags(), palette(), isEnabled(), text(),
                              foregroundRole());
    }

private:
    int textHeight(const QFont& textFont, int width) const
    {
        return QFontMetrics(textFont).boundingRect(QRect(0, 0, width, 0), flags(), text()).height();
    }
    int flags() const { return static_cast<int>(alignment()) | Qt::TextWrapAnywhere; }
};
