#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
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

/// Writes down every report of a detector: "+7a31:4" for the arrival of product 4 of vendor 7a31, "-4" for
/// its removal, "reopened 4" if the detector has reopened a handle of product 4, "complete 2" for the
/// report that the enumeration is complete and two devices are known.
class ReportRecorder final : public DeviceDetectorListener
{
public:
    void deviceArrived(DeviceInstance* instance) override
    {
        last = instance;
        add("+" + QByteArray::number(instance->vendorId, 16) + ':' + QByteArray::number(instance->productId));
    }
    void deviceRemoved(DeviceInstance* instance) override
    {
        add("-" + QByteArray::number(instance->productId));
    }
    void deviceHandleChanged(DeviceInstance* instance, HANDLE, HANDLE) override
    {
        add("reopened " + QByteArray::number(instance->productId));
    }
    void deviceEnumerationComplete(std::size_t count) override
    {
        add("complete " + QByteArray::number(qulonglong(count)));
    }

    /// Waits, for patienceMs at most, until the recorder has received @p count reports in total.
    /// @return all reports except the first @p skipped ones, separated by commas.
    QByteArray waitFor(int count, int skipped = 0)
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait_until(lock, std::chrono::system_clock::now() + std::chrono::milliseconds(patienceMs),
                           [&] { return reports.size() >= count; });
        return reports.mid(skipped).join(", ");
    }

    std::function<void(const QByteArray& report)> onReport; ///< called on the detector's threads
    DeviceInstance* last = nullptr;

private:
    void add(const QByteArray& report)
    {
        {
            const std::lock_guard<std::mutex> guard(mutex);
            reports << report;
        }
        changed.notify_all();
        if (onReport)
            onReport(report);
    }

    std::mutex mutex;
    std::condition_variable changed;
    QByteArrayList reports;
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

    /// Plugs devices in, starts detection, and waits until the detector has reported all these devices.
    /// @return the record of the device that was reported last; null if detection fails.
    DeviceInstance* detected(const std::vector<HidIdentity>& identities)
    {
        for (const HidIdentity& identity : identities)
            tree.plug(hidNode(identity));
        const int reports = static_cast<int>(identities.size()) + 1;
        const QByteArray completion = "complete " + QByteArray::number(reports - 1);
        return start() && recorder.waitFor(reports).endsWith(completion) ? recorder.last : nullptr;
    }

    ReportRecorder recorder;
    std::shared_ptr<DeviceDetector> detector{createDeviceDetector(), destroyDeviceDetector};
};
