#pragma once

#include <memory>
#include <string>

#include <QByteArrayList>
#include <QSemaphore>

#include "devicecontroller.h"
#include "devicelistener.h"
#include "scriptedchip.h"

/// A computer with a device controller that has not started detection, and a journal of the controller's
/// signals. "+1" is an arrival of device type 1, and "-1" is its removal. A removal is "?1" if the controller
/// still reports the type as connected.
class Detection : public Computer
{
public:
    Detection()
    {
        const auto note = [this](const char* text) { return [this, text] { reports << text; }; };
        QObject::connect(&controller, &DeviceController::deviceDetectionStarted, note("started"));
        QObject::connect(&controller, &DeviceController::deviceDetectionFinished, note("finished"));
        QObject::connect(&controller, &DeviceController::deviceArrived,
                         [this](DeviceType type) { reports << "+" + QByteArray::number(type); });
        QObject::connect(&controller, &DeviceController::deviceRemoved, [this](DeviceType type) {
            reports << (controller.isConnected(type) ? "?" : "-") + QByteArray::number(type);
        });
        // Counts arrivals on the detector's thread, before the controller handles them.
        const auto* const listener = controller.findChild<DeviceListener*>();
        QObject::connect(
            listener, &DeviceListener::deviceArrived, listener, [this] { arrivals.release(); },
            Qt::DirectConnection);
    }

    std::wstring plug(const HidIdentity& identity,
                      const std::shared_ptr<HidFunction>& hid = std::make_shared<ScriptedChip>())
    {
        return Computer::plug(identity, hid);
    }

    QByteArray text() const { return reports.join(' '); }

    QSemaphore arrivals; ///< released once for each arrival that the detector reports
    DeviceController controller{nullptr};
    QByteArrayList reports;
};
