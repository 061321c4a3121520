#include "benchwindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>
#include <QWindow>

#include "benchrun.h"
#include "devicepanel.h"
#include "eventlog.h"
#include "mainwindow.h"

namespace {

constexpr int refreshIntervalMs = 50;
constexpr int tenTimes = 10;

} // namespace

BenchWindow::BenchWindow(BenchRun& benchRun, EventLog& eventLog)
    : run(benchRun)
    , transmitterPanel(new DevicePanel)
    , headsetPanel(new DevicePanel)
    , versionEdit(new QLineEdit(QStringLiteral("1.3.0")))
    , generationBox(new QComboBox)
{
    setWindowTitle(tr("Bench"));
    resize(760, 640);
    transmitterPanel->setDevice(DeviceType::Transmitter, run.device(DeviceType::Transmitter));
    headsetPanel->setDevice(DeviceType::Headset, run.device(DeviceType::Headset));
    auto* const devices = new QHBoxLayout;
    devices->addWidget(transmitterPanel);
    devices->addWidget(headsetPanel);
    auto* const settings = new QHBoxLayout;
    settings->addWidget(makeTimeBox());
    settings->addWidget(makeArchiveBox(), 1);
    auto* const all = new QVBoxLayout(this);
    all->addLayout(devices);
    all->addLayout(settings);
    all->addWidget(makeLogBox(eventLog), 1);

    connect(&refreshTimer, &QTimer::timeout, this, &BenchWindow::refresh);
    refreshTimer.start(refreshIntervalMs);
    refresh();
    qApp->installEventFilter(this);
    placeBesideUpdater();
}

QGroupBox* BenchWindow::makeTimeBox()
{
    auto* const box = new QGroupBox(tr("Time"));
    auto* const layout = new QHBoxLayout(box);
    const int speed = run.settings().speed;
    const auto add = [&](const QString& text, double buttonSpeed, bool isChosen) {
        auto* const button = new QRadioButton(text);
        button->setChecked(isChosen);
        connect(button, &QRadioButton::clicked, this, [this, buttonSpeed] { run.setSpeed(buttonSpeed); });
        layout->addWidget(button);
    };
    add(tr("&Real"), 1, speed == 1);
    add(tr("&10 times as fast"), tenTimes, speed > 1 && speed < ScaledClock::atOnce);
    add(tr("At &once"), ScaledClock::atOnce, speed >= ScaledClock::atOnce);
    return box;
}

QGroupBox* BenchWindow::makeArchiveBox()
{
    auto* const box = new QGroupBox(tr("Archive"));
    auto* const versionLabel = new QLabel(tr("&Version:"));
    versionLabel->setBuddy(versionEdit);
    generationBox->addItems({QStringLiteral("VYNT1"), QStringLiteral("VYNT2")});
    generationBox->setAccessibleName(tr("Generation"));
    generationBox->setCurrentIndex(run.settings().generation - 1);
    auto* const button = new QPushButton(tr("&New archive..."));
    connect(button, &QPushButton::clicked, this, &BenchWindow::makeArchive);
    auto* const layout = new QHBoxLayout(box);
    layout->addWidget(versionLabel);
    layout->addWidget(versionEdit, 1);
    layout->addWidget(generationBox);
    layout->addWidget(button);
    return box;
}

QGroupBox* BenchWindow::makeLogBox(EventLog& eventLog)
{
    constexpr int mostLines = 10000;
    auto* const box = new QGroupBox(tr("Log"));
    auto* const edit = new QPlainTextEdit;
    edit->setAccessibleName(tr("Log"));
    edit->setTabChangesFocus(true);
    edit->setLineWrapMode(QPlainTextEdit::NoWrap);
    edit->setReadOnly(true);
    edit->setMaximumBlockCount(mostLines);
    connect(&eventLog, &EventLog::added, edit, &QPlainTextEdit::appendPlainText);
    (new QVBoxLayout(box))->addWidget(edit);
    return box;
}

void BenchWindow::refresh()
{
    transmitterPanel->refresh(run.image(DeviceType::Transmitter));
    headsetPanel->refresh(run.image(DeviceType::Headset));
}

void BenchWindow::placeBesideUpdater()
{
    constexpr int gap = 16;
    const QRect updater = run.updater().frameGeometry();
    move(updater.right() + gap, updater.top());
}

void BenchWindow::makeArchive()
{
    const QString version = versionEdit->text();
    const QString name = QStringLiteral("vynt-firmware-%1.zip").arg(version);
    const QString path = QFileDialog::getSaveFileName(
        this, tr("New Archive"), QDir::temp().absoluteFilePath(name), tr("Firmware archives (*.zip)"));
    if (path.isEmpty())
        return;
    if (!run.makeArchive(path, generationBox->currentIndex() + 1, version)) {
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
