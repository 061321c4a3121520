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
/// Back and Close. It holds no logic, because its owner sets the contents, shows the buttons and connects to
/// them. If the page gets the focus, its text receives it.
class InfoScreen : public QWidget
{
public:
    /// Buttons and picture start hidden.
    explicit InfoScreen(QWidget* parent = nullptr);
    ~InfoScreen() override;

    QPointer<QPushButton> backButton() const;
    QPointer<QPushButton> closeButton() const;

    void setDeviceName(const QString& name);

    /// Shows @p text as plain text that the user can select. The text also becomes the accessible description
    /// of both buttons, so a screen reader reads it whichever widget of the page has the focus.
    void setText(const QString& text);

    /// Shows the picture at @p path, scaled down in proportion if it is wider than the page is now. An empty
    /// path hides the picture. Does nothing if @p path is the path that was set last.
    void setImage(const QString& path);

private:
    std::unique_ptr<Ui::InfoScreenClass> ui;
    QString titleTemplate;
    QString imagePath;
};
