#include "handletable.h"

#include <mutex>
#include <unordered_map>

#include "openobjects.h"

namespace {

constexpr std::uintptr_t firstHandle = 0x10000; // clear of small numbers that a test might make up
constexpr std::uintptr_t handleStep = 4;        // as on Windows, the two low bits are free

struct Table
{
    std::mutex mutex;
    std::unordered_map<HANDLE, std::shared_ptr<HandleObject>> objects;
    std::uintptr_t next = firstHandle;
};

Table& table()
{
    // Never destroyed: detached threads may still close handles while the process ends.
    static auto* const instance = new Table;
    return *instance;
}

} // namespace

HANDLE HandleTable::add(std::shared_ptr<HandleObject> object)
{
    Table& t = table();
    const std::lock_guard<std::mutex> guard(t.mutex);
    const auto handle = reinterpret_cast<HANDLE>(t.next);
    t.next += handleStep;
    t.objects.emplace(handle, std::move(object));
    return handle;
}

std::shared_ptr<HandleObject> HandleTable::find(HANDLE handle)
{
    Table& t = table();
    const std::lock_guard<std::mutex> guard(t.mutex);
    const auto it = t.objects.find(handle);
    return it == t.objects.end() ? nullptr : it->second;
}

std::shared_ptr<HandleObject> HandleTable::remove(HANDLE handle)
{
    Table& t = table();
    std::shared_ptr<HandleObject> object;
    {
        const std::lock_guard<std::mutex> guard(t.mutex);
        const auto it = t.objects.find(handle);
        if (it != t.objects.end()) {
            object = std::move(it->second);
            t.objects.erase(it);
        }
    }
    if (!object)
        SetLastError(ERROR_INVALID_HANDLE);
    return object;
}

std::size_t openHandleCount()
{
    Table& t = table();
    const std::lock_guard<std::mutex> guard(t.mutex);
    return t.objects.size();
}
