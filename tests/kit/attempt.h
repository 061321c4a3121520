#pragma once

#include <memory>
#include <string>

#include <QByteArrayList>
#include <QSemaphore>
#include <QTimer>

#include "deviceinstance.h"
#include "devicelistener.h"
#include "firmwareupdater.h"

/// The record that a detector would have made of the interface with that path.
inline DeviceInstance recordOf(const std::wstring& path)
{
    DeviceInstance record;
    record.path = QString::fromStdWString(path).toLower().toStdWString();
    const auto hexAfter = [&](const wchar_t* key) {
        const std::size_t at = record.path.find(key);
        return at == std::wstring::npos ? 0 : std::stoul(record.path.substr(at + 4, 4), nullptr, 16);
    };
    record.vendorId = static_cast<std::uint16_t>(hexAfter(L"vid_"));
    record.productId = static_cast<std::uint16_t>(hexAfter(L"pid_"));
    record.interfaceKind = InterfaceKind::Hid;
    return record;
}

/// An attempt, and a journal of its signals; progress only as "...".
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

    /// Counts the arrivals that the updater's detector has reported, from flashDevice() on.
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
