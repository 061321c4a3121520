#pragma once

#include <optional>

#include <QLabel>

/// A label whose text may have its own colour. Text needs a contrast of at least 4.5 to 1 (WCAG 2.1, 1.4.3).
/// If the text's own colour has less contrast to the window's background, the label paints a grey background
/// behind the text. Of the greys with enough contrast, the label uses the one nearest to the window's
/// background. Disabled text needs no minimum contrast, so it gets no grey background.
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
