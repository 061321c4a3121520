#include "handletable.h"

#include <map>
#include <mutex>

#include "lasterror.h"
#include "openobjects.h"

namespace {

constexpr std::uintptr_t step = 4;      // keeps the two low bits 0; programs may store flags in them
constexpr std::uintptr_t first = 0x100; // lower values belong to handles that a process has from the start
constexpr std::uintptr_t firstWindow = 0x10000;

struct Table
{
    std::mutex mutex;
    std::map<std::uintptr_t, std::shared_ptr<HandleObject>> objects;
    /// Maps the value of a closed handle to the object that prevents the value's reuse.
    std::map<std::uintptr_t, std::weak_ptr<const void>> held;
    std::uintptr_t nextWindow = firstWindow;
};

Table& table()
{
    // The table is never destroyed, because detached threads may still close handles while the process ends.
    static auto* const instance = new Table;
    return *instance;
}

bool isFree(const Table& t, std::uintptr_t value)
{
    const auto held = t.held.find(value);
    return t.objects.count(value) == 0 && (held == t.held.end() || held->second.expired());
}

} // namespace

HANDLE HandleTable::add(std::shared_ptr<HandleObject> object)
{
    Table& t = table();
    const std::lock_guard<std::mutex> guard(t.mutex);
    std::uintptr_t free = first;
    while (!isFree(t, free))
        free += step;
    t.held.erase(free);
    t.objects.emplace(free, std::move(object));
    return reinterpret_cast<HANDLE>(free);
}

HANDLE HandleTable::addWindow(std::shared_ptr<HandleObject> window)
{
    Table& t = table();
    const std::lock_guard<std::mutex> guard(t.mutex);
    t.nextWindow += step;
    t.objects.emplace(t.nextWindow, std::move(window));
    return reinterpret_cast<HANDLE>(t.nextWindow);
}

std::shared_ptr<HandleObject> HandleTable::find(HANDLE handle)
{
    Table& t = table();
    const std::lock_guard<std::mutex> guard(t.mutex);
    const auto it = t.objects.find(reinterpret_cast<std::uintptr_t>(handle));
    return it == t.objects.end() ? nullptr : it->second;
}

std::shared_ptr<HandleObject> HandleTable::remove(HANDLE handle, bool (*isKind)(const HandleObject& object))
{
    Table& t = table();
    const std::lock_guard<std::mutex> guard(t.mutex);
    const auto it = t.objects.find(reinterpret_cast<std::uintptr_t>(handle));
    if (it == t.objects.end() || !isKind(*it->second))
        return fail(ERROR_INVALID_HANDLE);
    auto object = std::move(it->second);
    if (const auto holder = object->valueHolder(); !holder.expired())
        t.held[it->first] = holder;
    t.objects.erase(it);
    return object;
}

std::size_t openHandleCount()
{
    Table& t = table();
    const std::lock_guard<std::mutex> guard(t.mutex);
    return t.objects.size();
}
