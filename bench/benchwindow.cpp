#include "benchwindow.h"

#include <algorithm>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QSpinBox>
#include <QWindow>

#include "archivebuilder.h"
#include "benchrun.h"
#include "eventlog.h"
#include "firmwarecontroller.h"
#include "mainwindow.h"
#include "utilities.h"
#include "verdict.h"

namespace {

QString modeOf(const SimulatedDevice& device)
{
    if (!device.isPluggedIn())
        return device.isSettled() ? QStringLiteral("unplugged") : QStringLiteral("restarting");
    return device.isProgramming() ? QStringLiteral("in programming mode")
                                  : QStringLiteral("running its firmware");
}

QString textOf(const Transfers& transfers)
{
    if (transfers.count == 0)
        return QStringLiteral("none yet");
    return QStringLiteral("%1, in the phase \"%2\"")
        .arg(transfers.count)
        .arg(QLatin1String(phaseName(transfers.phase)));
}

} // namespace

BenchWindow::BenchWindow(BenchRun& benchRun, EventLog& eventLog, const BenchOptions& options)
    : run(benchRun)
{
    constexpr int refreshIntervalMs = 50;
    setWindowTitle(tr("Bench"));
    auto* const devices = new QHBoxLayout;
    devices->addWidget(makeDeviceBox(DeviceType::Transmitter));
    devices->addWidget(makeDeviceBox(DeviceType::Headset));
    auto* const settings = new QHBoxLayout;
    settings->addWidget(makeTimeBox(options.speed));
    settings->addWidget(makeArchiveBox(options.generation), 1);
    auto* const all = new QVBoxLayout(this);
    all->addLayout(devices);
    all->addLayout(settings);
    all->addWidget(makeLogBox(eventLog), 1);

    connect(&refreshTimer, &QTimer::timeout, this, &BenchWindow::remainUsable);
    connect(&refreshTimer, &QTimer::timeout, this, &BenchWindow::endAfterClosing);
    refreshTimer.start(refreshIntervalMs);
    placeWindows();
}

/// Places the updater and this window side by side in the centre of the screen. Moves the updater too,
/// because the position that the window manager gives it is not known yet.
void BenchWindow::placeWindows()
{
    constexpr int gap = 16; // wider than the windows' frames
    constexpr int titleBar = 40;
    constexpr QSize usualSize(860, 640);
    QWidget& updater = run.updater();
    const QRect desktop = screen()->availableGeometry();
    const QSize room(desktop.width() - updater.width() - 3 * gap, desktop.height() - titleBar - gap);
    resize(usualSize.boundedTo(room));
    const int left = desktop.left() + std::max(0, (desktop.width() - updater.width() - gap - width()) / 2);
    const int top = desktop.top() + std::max(titleBar, (desktop.height() - height()) / 2);
    updater.move(left, top);
    move(left + updater.width() + gap, top);
}

QWidget* BenchWindow::makeDeviceBox(DeviceType type)
{
    SimulatedDevice& device = run.device(type);
    const bool isTransmitter = type == DeviceType::Transmitter;
    auto* const box = new QGroupBox(isTransmitter ? tr("Transmitter") : tr("Headset"));
    auto* const rows = new QFormLayout(box);
    rows->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow); // some styles keep the fields narrow
    addState(*rows, tr("State:"), [&device] { return modeOf(device); });
    addState(*rows, tr("Memory:"), [this, type] { return memoryState(type); });
    addState(*rows, tr("Transfers:"), [&device] { return textOf(device.transfers()); });
    addFault(*rows, device);
    // The text contains the device's name so that the two check boxes have different mnemonics.
    auto* const cable =
        new QCheckBox(isTransmitter ? tr("&Transmitter plugged in") : tr("&Headset plugged in"));
    connect(cable, &QCheckBox::clicked, this, [&device](bool isPluggedIn) {
        if (isPluggedIn)
            device.plugIn();
        else
            device.unplug();
    });
    connect(&refreshTimer, &QTimer::timeout, cable,
            [&device, cable] { cable->setChecked(device.isPluggedIn()); });
    rows->addRow(cable);
    return box;
}

/// Adds a row that always shows what @p state returns.
void BenchWindow::addState(QFormLayout& rows, const QString& name, const std::function<QString()>& state)
{
    auto* const label = new QLabel;
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred); // the text does not widen the window
    rows.addRow(name, label);
    connect(&refreshTimer, &QTimer::timeout, label, [=] { label->setText(state()); });
}

void BenchWindow::addFault(QFormLayout& rows, SimulatedDevice& device)
{
    constexpr int mostTransfers = 999999;
    constexpr int inTheDownload = 40;
    auto* const fault = new QComboBox;
    for (const FaultDescription& one : faultDescriptions()) {
        fault->addItem(QLatin1String(one.name), static_cast<int>(one.fault));
        fault->setItemData(fault->count() - 1, QLatin1String(one.explanation), Qt::ToolTipRole);
    }
    auto* const transfer = new QSpinBox;
    transfer->setRange(1, mostTransfers);
    transfer->setValue(inTheDownload);
    auto* const armed = new QCheckBox(tr("Armed"));
    connect(armed, &QCheckBox::clicked, this, [&device, fault, transfer](bool isArmed) {
        if (isArmed)
            device.setFault(static_cast<Fault>(fault->currentData().toInt()), transfer->value());
        else
            device.clearFault();
    });
    connect(&refreshTimer, &QTimer::timeout, armed,
            [&device, armed] { armed->setChecked(armed->isChecked() && !device.struckAt()); });
    rows.addRow(tr("Fault:"), fault);
    rows.addRow(tr("At transfer:"), transfer);
    rows.addRow(QString(), armed);
    addState(rows, tr("Struck at:"), [&device] {
        const auto struck = device.struckAt();
        return struck ? textOf(*struck) : QStringLiteral("no transfer yet");
    });
}

QString BenchWindow::memoryState(DeviceType type) const
{
    const std::vector<std::uint8_t> memory = run.device(type).memory();
    const std::vector<std::uint8_t> image =
        bytesOf(run.updater().findChild<FirmwareController*>()->firmware(type));
    const QString version = QString::fromStdString(Verdict::versionOf(memory));
    if (image.empty())
        return tr("%1, no image in the archive").arg(version);
    const auto offset = Verdict::firstDifference(memory, image);
    return offset ? tr("%1, first difference at 0x%2").arg(version).arg(*offset, 4, 16, QLatin1Char('0'))
                  : tr("%1, %2 bytes equal").arg(version).arg(image.size());
}

QWidget* BenchWindow::makeTimeBox(int speed)
{
    const int fasterSpeed = speed > 1 && speed < ScaledClock::atOnce ? speed : 10;
    auto* const box = new QGroupBox(tr("Time"));
    auto* const layout = new QHBoxLayout(box);
    const auto add = [&](const QString& text, double buttonSpeed, bool isChosen) {
        auto* const button = new QRadioButton(text);
        button->setChecked(isChosen);
        connect(button, &QRadioButton::clicked, this, [this, buttonSpeed] { run.setSpeed(buttonSpeed); });
        layout->addWidget(button);
    };
    add(tr("&Real"), 1, speed == 1);
    add(tr("&%1 times as fast").arg(fasterSpeed), fasterSpeed, speed == fasterSpeed);
    add(tr("At &once"), ScaledClock::atOnce, speed >= ScaledClock::atOnce);
    return box;
}

QWidget* BenchWindow::makeArchiveBox(int generation)
{
    auto* const box = new QGroupBox(tr("Archive"));
    auto* const version = new QLineEdit(QStringLiteral("1.3.0"));
    auto* const versionLabel = new QLabel(tr("&Version:"));
    versionLabel->setBuddy(version);
    auto* const generations = new QComboBox;
    for (const std::uint16_t productId : ImageBuilder::transmitterProductIds)
        generations->addItem(Utilities::deviceNameForPid(productId));
    generations->setAccessibleName(tr("Generation"));
    generations->setCurrentIndex(generation - 1);
    auto* const button = new QPushButton(tr("&New archive..."));
    connect(button, &QPushButton::clicked, this,
            [=] { makeArchive(version->text(), generations->currentIndex() + 1); });
    auto* const layout = new QHBoxLayout(box);
    layout->addWidget(versionLabel);
    layout->addWidget(version, 1);
    layout->addWidget(generations);
    layout->addWidget(button);
    return box;
}

QWidget* BenchWindow::makeLogBox(EventLog& eventLog)
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

void BenchWindow::makeArchive(const QString& version, int generation)
{
    const QString name = QStringLiteral("vynt-firmware-%1.zip").arg(version);
    const QString path = QFileDialog::getSaveFileName(
        this, tr("New Archive"), QDir::temp().absoluteFilePath(name), tr("Firmware archives (*.zip)"));
    if (path.isEmpty())
        return;
    if (!run.makeArchive(path, generation, version)) {
        QMessageBox::warning(this, tr("New Archive"), tr("%1 could not be written.").arg(path));
        return;
    }
    run.updater().setFirmwareFilePath(path);
}

/// A modal dialog blocks all windows except its own children, so the bench's window becomes the dialog's
/// child.
void BenchWindow::remainUsable()
{
    const QWidget* const modal = QApplication::activeModalWidget();
    const bool isOwn = modal && modal->parentWidget() && modal->parentWidget()->window() == this;
    QWindow* const owner = modal ? modal->windowHandle() : nullptr;
    if (!isOwn && windowHandle()->transientParent() != owner)
        windowHandle()->setTransientParent(owner);
}

/// Ends the program after one of the two windows was closed. The end waits for an update in progress, so time
/// runs at the highest speed.
void BenchWindow::endAfterClosing()
{
    if (isVisible() && run.updater().isVisible())
        return;
    run.setSpeed(ScaledClock::atOnce);
    QCoreApplication::quit();
}
