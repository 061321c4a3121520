#pragma once

#include <memory>

#include <QPointer>
#include <QPushButton>
#include <QString>
#include <QWidget>

namespace Ui {
class InfoScreenClass;
}

/// A page that fills the window. It shows a title, a text, an optional picture, and the buttons Back and
/// Close. The title names the product generation. The page's owner sets the contents, shows the buttons and
/// connects to their signals. If the page gets the focus, the page passes the focus to its text.
class InfoScreen : public QWidget
{
public:
    /// Creates the page. Its buttons and its picture are hidden.
    explicit InfoScreen(QWidget* parent = nullptr);
    ~InfoScreen() override;

    QPointer<QPushButton> backButton() const;
    QPointer<QPushButton> closeButton() const;

    void setDeviceName(const QString& name);

    /// Shows @p text as plain text that the user can select. The text also becomes the accessible description
    /// of both buttons, so a screen reader reads the text whichever widget of the page has the focus.
    void setText(const QString& text);

    /// Shows the picture at @p path. A picture that is wider than the page's present width is scaled down and
    /// keeps its proportions. An empty path hides the picture. Does nothing if @p path is already set.
    void setImage(const QString& path);

private:
    std::unique_ptr<Ui::InfoScreenClass> ui;
    QString titleTemplate;
    QString imagePath;
};
