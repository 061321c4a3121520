#include "benchwindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFileDialog>
#include <QMessageBox>
#include <QWindow>

#include "benchrun.h"
#include "eventlog.h"
#include "mainwindow.h"
#include "ui_benchwindow.h"

namespace {

constexpr int refreshIntervalMs = 50;
constexpr int tenTimes = 10;

} // namespace

BenchWindow::BenchWindow(BenchRun& benchRun, EventLog& eventLog)
    : ui(std::make_unique<Ui::BenchWindow>())
    , run(benchRun)
{
    ui->setupUi(this);
    ui->transmitterPanel->setDevice(DeviceType::Transmitter, run.device(DeviceType::Transmitter));
    ui->headsetPanel->setDevice(DeviceType::Headset, run.device(DeviceType::Headset));
    connect(&eventLog, &EventLog::added, ui->logEdit, &QPlainTextEdit::appendPlainText);

    const auto onSpeed = [this](QRadioButton* button, double speed) {
        connect(button, &QRadioButton::clicked, this, [this, speed] { run.setSpeed(speed); });
    };
    const int speed = run.settings().speed;
    ui->realTimeButton->setChecked(speed == 1);
    ui->tenTimesButton->setChecked(speed > 1 && speed < ScaledClock::atOnce);
    ui->atOnceButton->setChecked(speed >= ScaledClock::atOnce);
    ui->generationBox->setCurrentIndex(run.settings().generation - 1);
    onSpeed(ui->realTimeButton, 1);
    onSpeed(ui->tenTimesButton, tenTimes);
    onSpeed(ui->atOnceButton, ScaledClock::atOnce);
    connect(ui->newArchiveButton, &QPushButton::clicked, this, &BenchWindow::makeArchive);

    connect(&refreshTimer, &QTimer::timeout, this, &BenchWindow::refresh);
    refreshTimer.start(refreshIntervalMs);
    refresh();
    qApp->installEventFilter(this);
    placeBesideUpdater();
}

BenchWindow::~BenchWindow() = default;

void BenchWindow::refresh()
{
    ui->transmitterPanel->refresh(run.image(DeviceType::Transmitter));
    ui->headsetPanel->refresh(run.image(DeviceType::Headset));
}

void BenchWindow::placeBesideUpdater()
{
    constexpr int gap = 16;
    const QRect updater = run.updater().frameGeometry();
    move(updater.right() + gap, updater.top());
}

void BenchWindow::makeArchive()
{
    const QString version = ui->versionEdit->text();
    const QString name = QStringLiteral("vynt-firmware-%1.zip").arg(version);
    const QString path = QFileDialog::getSaveFileName(
        this, tr("New Archive"), QDir::temp().absoluteFilePath(name), tr("Firmware archives (*.zip)"));
    if (path.isEmpty())
        return;
    if (!run.makeArchive(path, ui->generationBox->currentIndex() + 1, version)) {
        QMessageBox::warning(this, tr("New Archive"), tr("%1 could not be written.").arg(path));
        return;
    }
    run.updater().setFirmwareFilePath(path);
}

bool BenchWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == &run.updater() && event->type() == QEvent::Close) {
        // When the window has had its say.
        QMetaObject::invokeMethod(this, &BenchWindow::endWithUpdater, Qt::QueuedConnection);
        return false;
    }
    auto* const widget = qobject_cast<QWidget*>(watched);
    if (!widget || !widget->isWindow() || !widget->isModal())
        return false;
    if (event->type() == QEvent::Show)
        stayUsableUnder(widget);
    else if (event->type() == QEvent::Hide)
        stayUsableUnder(QApplication::activeModalWidget());
    return false;
}

/// A modal dialog blocks all windows but those that belong to it, so the bench belongs to it.
void BenchWindow::stayUsableUnder(const QWidget* modal)
{
    const bool isOwn = modal && modal->parentWidget() && modal->parentWidget()->window() == this;
    if (windowHandle() && !isOwn)
        windowHandle()->setTransientParent(modal && modal->isVisible() ? modal->windowHandle() : nullptr);
}

void BenchWindow::endWithUpdater()
{
    if (!run.updater().isVisible())
        end();
}

/// An update that is under way ends before the program does.
void BenchWindow::end()
{
    run.setSpeed(ScaledClock::atOnce);
    QCoreApplication::quit();
}

void BenchWindow::closeEvent(QCloseEvent* event)
{
    event->accept();
    end();
}
