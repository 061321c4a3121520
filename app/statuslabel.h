#pragma once

#include <optional>

#include <QLabel>

/// A label whose text may have a special colour. Text needs a contrast of at least 4.5 to 1 (WCAG 2.1,
/// 1.4.3). If the special colour has less contrast with the window's background, the label paints a grey
/// background behind the text: of the greys with enough contrast, the one nearest to the window's background.
/// Disabled text needs no such contrast, so it gets no grey background.
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
