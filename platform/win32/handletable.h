#pragma once

#include <memory>

#include <windows.h>

/// Whatever stands behind a handle. The dynamic type is the handle's type tag: a handle of the wrong kind
/// fails.
class HandleObject
{
public:
    virtual ~HandleObject() = default;
};

/// The kinds that CloseHandle closes.
class KernelObject : public HandleObject
{
};

/// The process's handles. Values are never used twice, so that a stale handle fails as an invalid one instead
/// of reaching a stranger's object. Callable on any thread.
namespace HandleTable {

HANDLE add(std::shared_ptr<HandleObject> object);

std::shared_ptr<HandleObject> find(HANDLE handle);

/// The object of kind T behind @p handle; null with ERROR_INVALID_HANDLE as last error where there is none.
template <typename T>
std::shared_ptr<T> get(HANDLE handle)
{
    auto object = std::dynamic_pointer_cast<T>(find(handle));
    if (!object)
        SetLastError(ERROR_INVALID_HANDLE);
    return object;
}

/// Takes @p handle, if it is of kind T, out of the table; the object lives on while somebody else holds it.
/// @return the object; null with ERROR_INVALID_HANDLE as last error where there is none.
std::shared_ptr<HandleObject> remove(HANDLE handle);

template <typename T>
std::shared_ptr<T> take(HANDLE handle)
{
    auto object = get<T>(handle);
    return object && remove(handle) ? object : nullptr;
}

} // namespace HandleTable
