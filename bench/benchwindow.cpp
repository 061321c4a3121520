#include "benchwindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QSpinBox>
#include <QWindow>

#include "archivebuilder.h"
#include "benchrun.h"
#include "eventlog.h"
#include "firmwarecontroller.h"
#include "mainwindow.h"
#include "verdict.h"

namespace {

QString modeOf(const SimulatedDevice& device)
{
    if (!device.isPluggedIn())
        return device.isSettled() ? QStringLiteral("unplugged") : QStringLiteral("restarting");
    return device.isProgramming() ? QStringLiteral("in programming mode")
                                  : QStringLiteral("running its firmware");
}

} // namespace

BenchWindow::BenchWindow(BenchRun& benchRun, EventLog& eventLog, const BenchOptions& options)
    : run(benchRun)
    , generation(options.generation)
{
    constexpr int refreshIntervalMs = 50;
    constexpr int usualSpeed = 10;
    setWindowTitle(tr("Bench"));
    const int speed = options.speed > 1 ? options.speed : usualSpeed;
    auto* const fast = new QCheckBox(tr("&%1 times as fast").arg(speed));
    fast->setChecked(speed == options.speed);
    connect(fast, &QCheckBox::clicked, this,
            [this, speed](bool isFast) { run.setSpeed(isFast ? speed : 1); });
    auto* const archive = new QPushButton(tr("&New archive"));
    connect(archive, &QPushButton::clicked, this, &BenchWindow::loadNewArchive);
    auto* const all = new QGridLayout(this);
    all->addWidget(makeDeviceBox(DeviceType::Transmitter), 0, 0);
    all->addWidget(makeDeviceBox(DeviceType::Headset), 0, 1);
    all->addWidget(fast, 1, 0);
    all->addWidget(archive, 1, 1, Qt::AlignRight);
    all->addWidget(makeLogView(eventLog), 2, 0, 1, 2);

    connect(&refreshTimer, &QTimer::timeout, this, &BenchWindow::remainUsable);
    connect(&refreshTimer, &QTimer::timeout, this, &BenchWindow::endAfterClosing);
    refreshTimer.start(refreshIntervalMs);
    placeWindows();
}

/// Puts the updater's window and this window side by side. Moves both windows, because the position of the
/// updater's window is not known yet.
void BenchWindow::placeWindows()
{
    constexpr int gap = 16; // wider than the windows' frames
    constexpr int titleBar = 40;
    constexpr QSize usualSize(860, 600);
    QRect room = screen()->availableGeometry().adjusted(gap, titleBar, -gap, -gap);
    run.updater().move(room.topLeft());
    room.setLeft(room.left() + run.updater().width() + gap);
    move(room.topLeft());
    resize(usualSize.boundedTo(room.size()));
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
    addState(*rows, tr("Transfers:"), [&device] { return QString::number(device.transfers().count); });
    addFault(*rows, device);
    // The text starts with the device's name, so that each device's check box has its own mnemonic.
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
    auto* const transfer = new QSpinBox;
    transfer->setRange(1, mostTransfers);
    transfer->setValue(inTheDownload);
    auto* const fault = new QComboBox;
    fault->addItem(tr("none"), static_cast<int>(Fault::None));
    for (const FaultDescription& one : faultDescriptions()) {
        fault->addItem(QLatin1String(one.name), static_cast<int>(one.fault));
        fault->setItemData(fault->count() - 1, QLatin1String(one.explanation), Qt::ToolTipRole);
    }
    connect(fault, qOverload<int>(&QComboBox::activated), this, [&device, fault, transfer] {
        device.setFault(static_cast<Fault>(fault->currentData().toInt()), transfer->value());
    });
    connect(&refreshTimer, &QTimer::timeout, fault, [&device, fault] {
        if (device.struckAt())
            fault->setCurrentIndex(0);
    });
    rows.addRow(tr("At transfer:"), transfer);
    rows.addRow(tr("Fault:"), fault);
}

/// Compares the device's memory with the device's image in the updater's archive.
QString BenchWindow::memoryState(DeviceType type) const
{
    const std::vector<std::uint8_t> memory = run.device(type).memory();
    const QByteArray image = run.updater().findChild<FirmwareController*>()->firmware(type);
    return image.isEmpty()
               ? tr("%1, no image in the archive").arg(QString::fromStdString(Verdict::versionOf(memory)))
               : QString::fromStdString(Verdict::text(memory, bytesOf(image)));
}

QWidget* BenchWindow::makeLogView(EventLog& eventLog)
{
    constexpr int mostLines = 10000;
    auto* const view = new QPlainTextEdit;
    view->setAccessibleName(tr("Log"));
    view->setTabChangesFocus(true);
    view->setLineWrapMode(QPlainTextEdit::NoWrap);
    view->setReadOnly(true);
    view->setMaximumBlockCount(mostLines);
    connect(&eventLog, &EventLog::added, view, &QPlainTextEdit::appendPlainText);
    return view;
}

/// Makes an archive with the next higher version and loads it into the updater.
void BenchWindow::loadNewArchive()
{
    const QString path = run.makeArchive(generation, QStringLiteral("1.%1.0").arg(++minorVersion));
    if (!path.isEmpty())
        run.updater().setFirmwareFilePath(path);
}

/// Makes this window a child of the updater's modal dialog, because a modal dialog blocks all windows except
/// its own children.
void BenchWindow::remainUsable()
{
    const QWidget* const modal = QApplication::activeModalWidget();
    QWindow* const owner = modal ? modal->windowHandle() : nullptr;
    if (windowHandle()->transientParent() != owner)
        windowHandle()->setTransientParent(owner);
}

/// Ends the program if the user has closed this window or the updater's window. The program first waits for
/// an update in progress. To shorten that wait, time runs at the highest speed.
void BenchWindow::endAfterClosing()
{
    if (isVisible() && run.updater().isVisible())
        return;
    run.setSpeed(ScaledClock::atOnce);
    QCoreApplication::quit();
}
