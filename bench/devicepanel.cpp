#include "devicepanel.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>

#include "faults.h"
#include "imagebuilder.h"
#include "memorymap.h"
#include "simulateddevice.h"

namespace {

/// A label that takes what room there is.
QLabel* wideLabel()
{
    auto* const label = new QLabel;
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    return label;
}

QLabel* labelFor(const QString& text, QWidget* buddy)
{
    auto* const label = new QLabel(text);
    label->setBuddy(buddy);
    return label;
}

} // namespace

DevicePanel::DevicePanel(QWidget* parent)
    : QGroupBox(parent)
    , modeLabel(wideLabel())
    , versionLabel(wideLabel())
    , transfersLabel(wideLabel())
    , memoryLabel(wideLabel())
    , memoryMap(new MemoryMap)
    , faultBox(new QComboBox)
    , transferBox(new QSpinBox)
    , faultButton(new QPushButton)
    , faultLabel(wideLabel())
    , cableButton(new QPushButton)
{
    constexpr int mostTransfers = 999999;
    constexpr int inTheDownload = 40;
    QFont bold = font();
    bold.setBold(true);
    modeLabel->setFont(bold);
    memoryMap->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    transferBox->setRange(1, mostTransfers);
    transferBox->setValue(inTheDownload);
    for (const FaultDescription& fault : faultDescriptions()) {
        faultBox->addItem(QLatin1String(fault.name), static_cast<int>(fault.fault));
        faultBox->setItemData(faultBox->count() - 1, QLatin1String(fault.explanation), Qt::ToolTipRole);
    }
    layOut();
    connect(cableButton, &QPushButton::clicked, this, &DevicePanel::toggleCable);
    connect(faultButton, &QPushButton::clicked, this, &DevicePanel::toggleFault);
}

void DevicePanel::layOut()
{
    auto* const states = new QFormLayout;
    states->addRow(tr("State:"), modeLabel);
    states->addRow(tr("Firmware in memory:"), versionLabel);
    states->addRow(tr("Transfers:"), transfersLabel);
    states->addRow(tr("Memory:"), memoryLabel);
    auto* const fault = new QHBoxLayout;
    fault->addWidget(labelFor(tr("Fault:"), faultBox));
    fault->addWidget(faultBox, 1);
    fault->addWidget(labelFor(tr("at transfer"), transferBox));
    fault->addWidget(transferBox);
    fault->addWidget(faultButton);
    auto* const cable = new QHBoxLayout;
    cable->addWidget(faultLabel, 1);
    cable->addWidget(cableButton);
    auto* const all = new QVBoxLayout(this);
    all->addLayout(states);
    all->addWidget(memoryMap);
    all->addWidget(new QLabel(MemoryMap::legend()));
    all->addLayout(fault);
    all->addLayout(cable);
}

void DevicePanel::setDevice(DeviceType type, SimulatedDevice& simulatedDevice)
{
    device = &simulatedDevice;
    // The mnemonics tell the two panels apart.
    name = type == DeviceType::Transmitter ? tr("&transmitter") : tr("&headset");
    setTitle(type == DeviceType::Transmitter ? tr("Transmitter") : tr("Headset"));
}

void DevicePanel::refresh(const QByteArray& image)
{
    const auto memory = device->memory();
    const auto identity = ImageBuilder::identityOf(memory);
    modeLabel->setText(mode());
    versionLabel->setText(identity ? QString::fromStdString(identity->version) : tr("none that is valid"));
    memoryMap->show(memory, image);
    memoryLabel->setText(memoryMap->summary());
    const Transfers transfers = device->transfers();
    const QString phase = QString::fromLatin1(phaseName(transfers.phase));
    transfersLabel->setText(transfers.count == 0
                                ? tr("none yet")
                                : tr("%1, in the phase \"%2\"").arg(transfers.count).arg(phase));
    cableButton->setText((device->isPluggedIn() ? tr("Unplug the %1") : tr("Plug in the %1")).arg(name));
    isFaultArmed = isFaultArmed && !device->struckAt();
    faultButton->setText(isFaultArmed ? tr("Disarm") : tr("Arm"));
    faultLabel->setText(faultState());
}

QString DevicePanel::mode() const
{
    if (!device->isPluggedIn())
        return device->isSettled() ? tr("unplugged") : tr("restarting");
    return device->isProgramming() ? tr("in programming mode") : tr("running its firmware");
}

QString DevicePanel::faultState() const
{
    if (isFaultArmed)
        return tr("armed");
    const auto struck = device->struckAt();
    return struck ? tr("struck at transfer %1, \"%2\"")
                        .arg(struck->count)
                        .arg(QLatin1String(phaseName(struck->phase)))
                  : tr("none armed");
}

void DevicePanel::toggleCable()
{
    if (device->isPluggedIn())
        device->unplug();
    else
        device->plugIn();
}

void DevicePanel::toggleFault()
{
    isFaultArmed = !isFaultArmed;
    if (isFaultArmed)
        device->setFault(static_cast<Fault>(faultBox->currentData().toInt()), transferBox->value());
    else
        device->clearFault();
}
