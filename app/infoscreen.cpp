#include "infoscreen.h"

#include <QFontInfo>
#include <QIcon>
#include <QPixmap>

#include "plaintext.h"
#include "ui_infoscreen.h"

InfoScreen::InfoScreen(QWidget* parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::InfoScreenClass>())
{
    constexpr qreal titleSizeRatio = 1.4; // the title's font size divided by the text's font size
    ui->setupUi(this);
    showAsPlainText(*this);
    titleTemplate = ui->title->text();
    QFont titleFont = ui->title->font();
    titleFont.setPointSizeF(QFontInfo(titleFont).pointSizeF() * titleSizeRatio);
    ui->title->setFont(titleFont);

    // A hidden picture keeps its space below the text, so that the text does not move down.
    QSizePolicy imagePolicy = ui->image->sizePolicy();
    imagePolicy.setRetainSizeWhenHidden(true);
    ui->image->setSizePolicy(imagePolicy);

    setFocusProxy(ui->text); // screen readers read the widget that has the focus
    ui->closeButton->hide();
    ui->backButton->hide();
    ui->image->hide();
}

InfoScreen::~InfoScreen() = default;

QPointer<QPushButton> InfoScreen::backButton() const
{
    return ui->backButton;
}

QPointer<QPushButton> InfoScreen::closeButton() const
{
    return ui->closeButton;
}

void InfoScreen::setDeviceName(const QString& name)
{
    const QString title = titleTemplate.arg(name);
    ui->title->setText(title);
    ui->image->setAccessibleName(title);
}

void InfoScreen::setText(const QString& text)
{
    ui->text->setText(text);
    ui->backButton->setAccessibleDescription(text);
    ui->closeButton->setAccessibleDescription(text);
}

void InfoScreen::setImage(const QString& path)
{
    if (path == imagePath)
        return;
    imagePath = path;
    if (path.isEmpty()) {
        ui->image->setPixmap(QPixmap());
        ui->image->hide();
        return;
    }

    ui->image->show();
    // Unlike QPixmap, QIcon loads the "@2x" variant on a high-resolution screen.
    const QIcon icon(path);
    QPixmap picture = icon.pixmap(icon.availableSizes().value(0));
    const QMargins margins = ui->verticalLayout->contentsMargins();
    const int availablePixels =
        qRound((width() - margins.left() - margins.right()) * picture.devicePixelRatio());
    if (picture.width() > availablePixels)
        picture =
            picture.scaled(availablePixels, picture.height(), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    ui->image->setPixmap(picture);
}
