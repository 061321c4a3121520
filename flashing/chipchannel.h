#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "abstracthiddevice.h"

/// The road of a chip's commands to its device: a device that passes everything on to another one and keeps
/// count of the transfers. To be used, as its device, on one thread at a time.
class ChipChannel : public AbstractHidDevice
{
public:
    /// Set once nobody waits for an answer any more; every transfer then fails without reaching the device.
    using Cancelled = std::shared_ptr<const std::atomic<bool>>;

    /// A place in what is done with the device.
    struct Place
    {
        const char* phase = "identify";
        int transfer = 0; ///< number of a feature report, either way, from 1
    };

    explicit ChipChannel(std::shared_ptr<AbstractHidDevice> hidDevice, Cancelled isCancelled = nullptr);

    void enterPhase(const char* phase) { last.phase = phase; }

    /// The last transfer; where the device was lost, the first of those that did not get through any more.
    Place place() const { return lost.transfer > 0 ? lost : last; }

    std::function<void(const Place&)> onFailure; ///< called after each transfer that did not get through

    bool open(int access, int share) override { return device->open(access, share); }
    void close() override { device->close(); }
    bool isOpen() const override { return device->isOpen(); }
    int usagePage() override { return device->usagePage(); }
    bool setFeatureBlocking(std::vector<unsigned char>* report) override;
    bool getFeatureBlocking(std::vector<unsigned char>* report) override;
    std::vector<unsigned char>* createReportBuffer(int reportKind) override
    {
        return device->createReportBuffer(reportKind);
    }

private:
    bool count(bool gotThrough);

    const std::shared_ptr<AbstractHidDevice> device;
    const Cancelled cancelled;
    Place last;
    Place lost; ///< transfer 0 where the last one got through
};
