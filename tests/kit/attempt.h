#pragma once

#include <memory>
#include <string>

#include <QByteArrayList>
#include <QSemaphore>
#include <QTimer>

#include "deviceinstance.h"
#include "devicelistener.h"
#include "firmwareupdater.h"
#include "presentdevices_p.h"

/// @return the record that a detector creates for the interface @p path.
inline DeviceInstance recordOf(const std::wstring& path)
{
    DeviceInstance record;
    static_cast<void>(readDeviceProperties(path, record, interfaceClassGuid(InterfaceKind::Hid)));
    record.path = toLowerAscii(path);
    return record;
}

/// An attempt to update one device, with a journal of the updater's signals. The journal mentions a progress
/// value only if the value is out of order.
class Attempt
{
public:
    Attempt(const std::wstring& path, DeviceType type, const QByteArray& image)
        : updater(new FirmwareUpdater(nullptr, recordOf(path), type, image))
    {
        using Updater = FirmwareUpdater;
        QObject::connect(updater.get(), &Updater::flashingStarted, [this] { journal << "started"; });
        QObject::connect(updater.get(), &Updater::flashingFinished, [this] { journal << "finished"; });
        QObject::connect(updater.get(), &Updater::flashingError,
                         [this](int code) { journal << "error " + QByteArray::number(code); });
        QObject::connect(updater.get(), &Updater::progressRangeChanged,
                         [this](int min, int) { journal << "range " + QByteArray::number(min); });
        QObject::connect(updater.get(), &Updater::progressValueChanged, [this](int value) {
            if (value != ++progress || !journal.last().startsWith("range"))
                journal << "progress out of order";
        });
    }

    QByteArray text() const { return journal.join(", "); }

    /// The timer that ends the wait for programming mode.
    QTimer& timer() const { return *updater->findChild<QTimer*>(); }

    /// Makes `arrivals` count the arrivals that the updater's detector reports from now on.
    void watchArrivals()
    {
        const auto* const listener = updater->findChild<DeviceListener*>();
        QObject::connect(
            listener, &DeviceListener::deviceArrived, listener, [this] { arrivals.release(); },
            Qt::DirectConnection);
    }

    QByteArrayList journal;
    int progress = 0;
    QSemaphore arrivals;
    std::unique_ptr<FirmwareUpdater> updater;
};
