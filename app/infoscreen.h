#pragma once

#include <memory>

#include <QPointer>
#include <QPushButton>
#include <QString>
#include <QWidget>

namespace Ui {
class InfoScreenClass;
}

/// A full-window page with a title that names the product generation, a text, an optional picture, and the
/// buttons Back and Close. The page's owner sets the contents, shows the buttons and connects to their
/// signals. If the page gets the focus, it passes the focus to its text.
class InfoScreen : public QWidget
{
public:
    /// Creates the page with its buttons and its picture hidden.
    explicit InfoScreen(QWidget* parent = nullptr);
    ~InfoScreen() override;

    QPointer<QPushButton> backButton() const;
    QPointer<QPushButton> closeButton() const;

    void setDeviceName(const QString& name);

    /// Shows @p text as plain text that the user can select. The text also becomes the accessible description
    /// of both buttons, so a screen reader reads the text whichever widget of the page has the focus.
    void setText(const QString& text);

    /// Shows the picture at @p path, scaled down in proportion if it does not fit the page's present width.
    /// An empty path hides the picture. Does nothing if @p path is already set.
    void setImage(const QString& path);

private:
    std::unique_ptr<Ui::InfoScreenClass> ui;
    QString titleTemplate;
    QString imagePath;
};
