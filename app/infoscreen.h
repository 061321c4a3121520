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
/// Back and Close. It holds no logic: its owner sets everything, shows the buttons and connects to them. The
/// focus of the page goes to its text.
class InfoScreen : public QWidget
{
public:
    /// Buttons and picture start hidden.
    explicit InfoScreen(QWidget* parent = nullptr);
    ~InfoScreen() override;

    QPointer<QPushButton> backButton() const;
    QPointer<QPushButton> closeButton() const;

    void setDeviceName(const QString& name);

    /// Plain @p text, which the user can select. Screen readers also read it as the description of both
    /// buttons, so they read it whichever widget of the page has the focus.
    void setText(const QString& text);

    /// Shows the picture at @p path, shrunk in proportion if it is wider than the page is now; an empty path
    /// hides the picture. The path set last is not loaded again.
    void setImage(const QString& path);

private:
    std::unique_ptr<Ui::InfoScreenClass> ui;
    QString titleTemplate;
    QString imagePath;
};
