#pragma once

#include <memory>

#include <windows.h>

/// Whatever stands behind a handle. Its dynamic type is the handle's tag: a handle of the wrong kind fails.
class HandleObject
{
public:
    virtual ~HandleObject() = default;

    /// While somebody holds this, the handle's value is not given away, though the handle is closed.
    virtual std::weak_ptr<const void> valueHolder() const { return {}; }
};

/// The kinds that CloseHandle closes.
class KernelObject : public HandleObject
{
};

/// An object that is no more than what it holds.
template <typename Kind, typename Content>
class ObjectWith : public Kind, public Content
{
public:
    explicit ObjectWith(Content content)
        : Content(std::move(content))
    {
    }
};

/// The process's handles: multiples of 4, of which the lowest free one is used next, so that a stale handle
/// reaches a stranger's object as it would on Windows. Callable on any thread.
namespace HandleTable {

HANDLE add(std::shared_ptr<HandleObject> object);

/// A window's value is not used again.
HANDLE addWindow(std::shared_ptr<HandleObject> window);

std::shared_ptr<HandleObject> find(HANDLE handle);

/// Takes @p handle out of the table if @p isKind says so of its object, which lives on while somebody else
/// holds it. @return the object; null with ERROR_INVALID_HANDLE as last error where there is none.
std::shared_ptr<HandleObject> remove(HANDLE handle, bool (*isKind)(const HandleObject& object));

/// The object of kind T behind @p handle; null with ERROR_INVALID_HANDLE as last error where there is none.
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
