#pragma once

#include <QTimeLine>
#include <QWidget>

class QProgressBar;

/// A light that passes over a progress bar again and again. A device at work may keep its value for seconds;
/// this shows that it is at work. A busy bar has its own movement and gets none.
class ProgressGlow : public QWidget
{
public:
    /// Covers @p bar, as its child, for good; mouse and keyboard do not notice.
    explicit ProgressGlow(QProgressBar* bar);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void paintBand(const QRect& area, QColor colour);

    QProgressBar* const progressBar;
    QTimeLine pass; ///< its value is the share of the way that the light has covered
};
