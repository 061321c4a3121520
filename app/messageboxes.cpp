#include "messageboxes.h"

#include <QIcon>
#include <QMessageBox>
#include <QPushButton>

#include "mainwindow.h"
#include "plaintext.h"

namespace {

constexpr int questionAccepted = 0;
constexpr int questionRejected = 1;

constexpr Qt::WindowFlags questionFlags =
    Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint | Qt::WindowTitleHint | Qt::CustomizeWindowHint;
constexpr Qt::WindowFlags aboutFlags = Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint;

constexpr QSize aboutIconSize(64, 64);

/// @return questionAccepted or questionRejected, or the result of box.exec() if a button's text is empty.
int askQuestion(QWidget* window, const QString& title, const QString& text, const QString& informativeText,
                const QString& acceptText, const QString& rejectText)
{
    QMessageBox box(QMessageBox::Warning, title, text, QMessageBox::NoButton, window);
    box.setWindowFlags(questionFlags); // set here, because the constructor would add a close button
    box.setInformativeText(informativeText);
    showAsPlainText(box);
    if (acceptText.isEmpty() || rejectText.isEmpty())
        return box.exec();

    QPushButton* const acceptButton = box.addButton(acceptText, QMessageBox::AcceptRole);
    box.addButton(rejectText, QMessageBox::RejectRole);
    box.setDefaultButton(acceptButton);
    box.exec();
    return box.clickedButton() == acceptButton ? questionAccepted : questionRejected;
}

} // namespace

bool MessageBoxes::confirmUnknownIdentity(QWidget* window)
{
    return askQuestion(
               window, MainWindow::tr("Warning"),
               MainWindow::tr("Cannot determine if firmware is compatible with the connected device."),
               MainWindow::tr(
                   "If you choose to proceed, please make sure you are using the correct firmware file."),
               MainWindow::tr("Update"), MainWindow::tr("Do not update")) == questionAccepted;
}

bool MessageBoxes::confirmSingleDevice(QWidget* window)
{
    return askQuestion(
               window, MainWindow::tr("Warning"), MainWindow::tr("Only one device can be updated right now."),
               MainWindow::tr("Do you want proceed?"), MainWindow::tr("Proceed and update one device"),
               MainWindow::tr("Do not update")) == questionAccepted;
}

void MessageBoxes::reportLoadingFailure(QWidget* window)
{
    // Without a parent, the box appears in the middle of the screen. An invisible parent would move the box
    // elsewhere.
    QMessageBox box(QMessageBox::Warning, MainWindow::tr("Error while loading firmware"),
                    MainWindow::tr("Firmware cannot be loaded. File may be corrupted or not supported.\n"
                                   "Try to download it once again."),
                    QMessageBox::NoButton, window->isVisible() ? window : nullptr);
    showAsPlainText(box);
    box.exec();
}

void MessageBoxes::showAbout(QWidget* window)
{
    const QIcon logo(QStringLiteral(":/Resources/MarovexLogo.png"));
    auto* const box = new QMessageBox(
        QMessageBox::Information, MainWindow::tr("About"),
        MainWindow::tr("\n%1\nVersion %2\n").arg(window->windowTitle(), QStringLiteral(UPDATER_VERSION)),
        QMessageBox::NoButton, window, aboutFlags);
    box->setAttribute(Qt::WA_DeleteOnClose);
    showAsPlainText(*box);
    box->setIconPixmap(logo.pixmap(logo.actualSize(aboutIconSize)));
    box->exec();
}
