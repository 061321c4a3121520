#pragma once

#include <QLabel>

/// A label whose text may be set off by a colour of its own. Amber does not stand out from a light desktop
/// nor crimson from a dark one, so such a text gets a ground, as wide as the text and as light as a contrast
/// of 3 to 1 allows (WCAG 2.1, 1.4.11). A text in the desktop's colour stands on the desktop's ground.
class StatusLabel : public QLabel
{
public:
    explicit StatusLabel(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};
