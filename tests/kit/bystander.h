#pragma once

#include <functional>
#include <future>
#include <utility>

#include <windows.h>

#include <dbt.h>

#include "devicetree.h"

/// Another program that watches a device. It gets the tree's events on the thread that makes them, after the
/// observers that registered before it.
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
        return std::promise<void>().get_future(); // a broken promise is ready at once
    }

    std::function<void()> onRemoved;
    std::function<void()> onQuery;
};

/// An event that gets the value of a handle that was closed just before. It shows whether somebody has closed
/// it by that value.
class Stranger
{
public:
    ~Stranger() { close(); }

    void open() { event = CreateEventW(nullptr, FALSE, FALSE, nullptr); }
    /// @return whether it was open.
    bool close() { return event && CloseHandle(std::exchange(event, nullptr)); }

private:
    HANDLE event = nullptr;
};
