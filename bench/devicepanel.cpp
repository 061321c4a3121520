#include "devicepanel.h"

#include "faults.h"
#include "imagebuilder.h"
#include "simulateddevice.h"
#include "ui_devicepanel.h"

DevicePanel::DevicePanel(QWidget* parent)
    : QGroupBox(parent)
    , ui(std::make_unique<Ui::DevicePanel>())
{
    ui->setupUi(this);
    for (const FaultDescription& fault : faultDescriptions()) {
        ui->faultBox->addItem(QLatin1String(fault.name), static_cast<int>(fault.fault));
        ui->faultBox->setItemData(ui->faultBox->count() - 1, QLatin1String(fault.explanation),
                                  Qt::ToolTipRole);
    }
    ui->legendLabel->setText(MemoryMap::legend());
    connect(ui->cableButton, &QPushButton::clicked, this, &DevicePanel::toggleCable);
    connect(ui->faultButton, &QPushButton::clicked, this, &DevicePanel::toggleFault);
}

DevicePanel::~DevicePanel() = default;

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
    ui->modeLabel->setText(mode());
    ui->versionLabel->setText(identity ? QString::fromStdString(identity->version)
                                       : tr("none that is valid"));
    ui->memoryMap->show(memory, image);
    ui->memoryLabel->setText(ui->memoryMap->summary());
    const Transfers transfers = device->transfers();
    const QString phase = QString::fromLatin1(phaseName(transfers.phase));
    ui->transfersLabel->setText(transfers.count == 0
                                    ? tr("none yet")
                                    : tr("%1, in the phase \"%2\"").arg(transfers.count).arg(phase));
    ui->cableButton->setText((device->isPluggedIn() ? tr("Unplug the %1") : tr("Plug in the %1")).arg(name));
    isFaultArmed = isFaultArmed && !device->struckAt();
    ui->faultButton->setText(isFaultArmed ? tr("Disarm") : tr("Arm"));
    ui->faultLabel->setText(faultState());
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
        device->setFault(static_cast<Fault>(ui->faultBox->currentData().toInt()), ui->transferBox->value());
    else
        device->clearFault();
}
