#pragma once

#include <functional>
#include <future>
#include <utility>

#include <windows.h>

#include <dbt.h>

#include "devicetree.h"

/// Another program that watches a device. The device tree passes each event to it on the thread that causes
/// the event, after the observers that registered earlier.
class Bystander final : public DeviceTreeObserver
{
public:
    bool watchesFile() const override { return true; }
    std::future<void> onEvent(WPARAM event, const DeviceNode&) override
    {
        if (event == DBT_DEVICEREMOVECOMPLETE && onRemoved)
            onRemoved();
        if (event == DBT_DEVICEQUERYREMOVE && onQuery)
            onQuery();
        return std::promise<void>().get_future(); // ready at once, since the promise is gone
    }

    std::function<void()> onRemoved;
    std::function<void()> onQuery;
};

/// An event whose handle gets the value of a handle that the program has just closed. If the program closes
/// that handle a second time, it closes this event.
class Stranger
{
public:
    ~Stranger() { close(); }

    void open() { event = CreateEventW(nullptr, FALSE, FALSE, nullptr); }
    /// @return whether the event was still open.
    bool close() { return event && CloseHandle(std::exchange(event, nullptr)); }

private:
    HANDLE event = nullptr;
};
