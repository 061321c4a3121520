#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "accessbits.h"
#include "computer.h"
#include "devicedetector.h"
#include "devicedetectorlistener.h"
#include "deviceinstance.h"
#include "hidnode.h"
#include "utilities.h"
#include "waiting.h"

constexpr HidIdentity transmitter{0x7A31, 0x0004};
constexpr HidIdentity headset{0x7A31, 0x0006, 2};

/// Writes down every report as a line of text.
class ReportRecorder final : public DeviceDetectorListener
{
public:
    void deviceArrived(DeviceInstance* instance) override
    {
        last = instance;
        addAlone(QStringLiteral("+%1:%2")
                     .arg(instance->vendorId, 4, 16, QLatin1Char('0'))
                     .arg(instance->productId));
    }
    void deviceRemoved(DeviceInstance* instance) override
    {
        addAlone(QStringLiteral("-%1").arg(instance->productId));
    }
    void deviceHandleChanged(DeviceInstance* instance, HANDLE, HANDLE newHandle) override
    {
        reopened = newHandle;
        addAlone(QStringLiteral("reopened %1").arg(instance->productId));
    }
    void deviceEnumerationComplete(std::size_t count) override
    {
        add(QStringLiteral("complete %1").arg(count));
    }

    /// Waits until @p count reports have been made since the recorder was created, for patienceMs at most.
    /// @return all reports.
    QStringList waitFor(int count)
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait_until(lock, std::chrono::system_clock::now() + std::chrono::milliseconds(patienceMs),
                           [&] { return reports.size() >= count; });
        return reports;
    }

    std::function<void(const QString& report)> onReport; ///< called on the detector's threads
    DeviceInstance* last = nullptr;
    HANDLE reopened = nullptr;
    std::atomic<int> overlaps{0}; ///< overlaps between reports that the detector makes under its lock

private:
    void addAlone(const QString& report)
    {
        overlaps += inside.exchange(true) ? 1 : 0;
        std::this_thread::yield();
        add(report);
        inside = false;
    }

    void add(const QString& report)
    {
        {
            const std::lock_guard<std::mutex> guard(mutex);
            reports << report;
        }
        changed.notify_all();
        if (onReport)
            onReport(report);
    }

    std::atomic<bool> inside{false};
    std::mutex mutex;
    std::condition_variable changed;
    QStringList reports;
};

/// A computer with a detector, which has not been started, and a recorder of the detector's reports.
class DetectorFixture : public Computer
{
public:
    bool start(std::vector<DeviceId> ids = {Utilities::allDeviceIds().begin(),
                                            Utilities::allDeviceIds().end()})
    {
        return detector->start(&recorder, ids.data(), static_cast<unsigned int>(ids.size()));
    }

    /// Plugs devices in, starts detection, and waits until all of them are reported.
    /// @return the record of the last one; null if detection fails.
    DeviceInstance* detected(const std::vector<HidIdentity>& identities)
    {
        for (const HidIdentity& identity : identities)
            tree.plug(hidNode(identity));
        const int reports = static_cast<int>(identities.size()) + 1;
        return start() && recorder.waitFor(reports).size() == reports ? recorder.last : nullptr;
    }

    ReportRecorder recorder;
    std::shared_ptr<DeviceDetector> detector{createDeviceDetector(), destroyDeviceDetector};
};
