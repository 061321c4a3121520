#pragma once

#include <memory>

#include <QPointer>
#include <QPushButton>
#include <QString>
#include <QWidget>

namespace Ui {
class InfoScreenClass;
}

/// A full-window page: a title naming the product generation, a text, an optional picture and the buttons
/// Back and Close. It holds no logic; whoever shows it sets everything, shows the buttons wanted and connects
/// to them.
class InfoScreen : public QWidget
{
public:
    /// Buttons and picture start hidden.
    explicit InfoScreen(QWidget* parent = nullptr);
    ~InfoScreen() override;

    QPointer<QPushButton> backButton() const;
    QPointer<QPushButton> closeButton() const;

    void setDeviceName(const QString& name);

    /// Plain or rich @p text. Assistive technology also reads it as the description of both buttons, so it is
    /// heard when the page comes up with the focus on one of them.
    void setText(const QString& text);

    /// Shows the picture at @p path, shrunk in proportion where it is wider than the page is now; an empty
    /// path hides the picture. The path shown last is not loaded again.
    void setImage(const QString& path);

private:
    std::unique_ptr<Ui::InfoScreenClass> ui;
    QString titleTemplate;
    QString imagePath;
};
