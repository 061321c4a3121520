#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "abstracthiddevice.h"
#include "phase.h"

/// Forwards a chip's commands to its device and counts the transfers. Only one thread at a time may use the
/// channel.
class ChipChannel : public AbstractHidDevice
{
public:
    /// The owner of this flag sets it when no answer is needed any more. From then on isOpen() returns false,
    /// and every transfer fails without reaching the device.
    using Cancelled = std::shared_ptr<const std::atomic<bool>>;

    /// The phase and the transfer that the work with the device has reached.
    struct Place
    {
        Phase phase = Phase::Identify;
        int transfer = 0;      ///< number of the last feature-report transfer; 0 before the first
        bool isFailed = false; ///< whether that transfer failed
    };

    explicit ChipChannel(std::shared_ptr<AbstractHidDevice> hidDevice, Cancelled isCancelled = nullptr);

    void enterPhase(Phase phase) { last.phase = phase; }

    /// Returns the current phase and the last transfer. If that transfer failed, returns the place of the
    /// first failure since the last success.
    Place place() const { return lost.isFailed ? lost : last; }

    std::function<void(const Place&)> onFailure; ///< called after each transfer that failed

    bool open(int access, int share) override { return device->open(access, share); }
    void close() override { device->close(); }
    bool isOpen() const override { return !isCancelled() && device->isOpen(); }
    int usagePage() override { return device->usagePage(); }
    bool setFeatureBlocking(std::vector<unsigned char>* report) override;
    bool getFeatureBlocking(std::vector<unsigned char>* report) override;
    std::vector<unsigned char>* createReportBuffer(int reportKind) override
    {
        return device->createReportBuffer(reportKind);
    }

private:
    bool isCancelled() const { return cancelled && *cancelled; }
    bool count(bool isDone);

    const std::shared_ptr<AbstractHidDevice> device;
    const Cancelled cancelled;
    Place last;
    Place lost; ///< place of the first failed transfer since the last success; if none, isFailed is false
};
