#pragma once

#include <memory>

#include <windows.h>

/// The object behind a handle. A function that expects another dynamic type fails.
class HandleObject
{
public:
    virtual ~HandleObject() = default;

    /// After the handle is closed, its value is not reused as long as the returned object exists.
    virtual std::weak_ptr<const void> valueHolder() const { return {}; }
};

/// Base class of the objects that CloseHandle closes.
class KernelObject : public HandleObject
{
};

/// An object that only holds its content.
template <typename Kind, typename Content>
class ObjectWith : public Kind, public Content
{
public:
    explicit ObjectWith(Content content)
        : Content(std::move(content))
    {
    }
};

/// The process's handles: multiples of 4. The lowest free value is used next, so that a closed handle soon
/// refers to another object, as on Windows. Callable on any thread.
namespace HandleTable {

HANDLE add(std::shared_ptr<HandleObject> object);

/// Adds a window. The value of its handle is never reused.
HANDLE addWindow(std::shared_ptr<HandleObject> window);

std::shared_ptr<HandleObject> find(HANDLE handle);

/// Removes @p handle if @p isKind accepts its object.
/// @return the removed object; null, with ERROR_INVALID_HANDLE as last error, if there is none.
std::shared_ptr<HandleObject> remove(HANDLE handle, bool (*isKind)(const HandleObject& object));

/// The object behind @p handle; null, with ERROR_INVALID_HANDLE as last error, if there is none of kind T.
template <typename T>
std::shared_ptr<T> get(HANDLE handle)
{
    auto object = std::dynamic_pointer_cast<T>(find(handle));
    if (!object)
        SetLastError(ERROR_INVALID_HANDLE);
    return object;
}

/// remove() for the kind T.
template <typename T>
std::shared_ptr<HandleObject> take(HANDLE handle)
{
    return remove(handle,
                  [](const HandleObject& object) { return dynamic_cast<const T*>(&object) != nullptr; });
}

} // namespace HandleTable
