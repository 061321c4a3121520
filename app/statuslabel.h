#pragma once

#include <optional>

#include <QLabel>

/// A label whose text may have a colour of its own. If that colour has less than the contrast of 4.5 to 1
/// that text needs (WCAG 2.1, 1.4.3), the label paints a background behind the text: the shade of grey
/// nearest to the desktop's that has this contrast. Disabled text needs none.
class StatusLabel : public QLabel
{
public:
    explicit StatusLabel(QWidget* parent);

protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    std::optional<QColor> textBackground() const;
};
