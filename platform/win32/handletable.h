#pragma once

#include <memory>

#include <windows.h>

/// The object that a handle refers to. A Windows function fails if it needs an object of another class.
class HandleObject
{
public:
    virtual ~HandleObject() = default;

    /// @return an object that reserves the handle's value. After the handle is closed, no new handle gets the
    /// value as long as the returned object exists.
    virtual std::weak_ptr<const void> valueHolder() const { return {}; }
};

/// Base class of the objects that CloseHandle closes.
class KernelObject : public HandleObject
{
};

/// Adds the members of Content to the class Kind.
template <typename Kind, typename Content>
class ObjectWith : public Kind, public Content
{
public:
    explicit ObjectWith(Content content)
        : Content(std::move(content))
    {
    }
};

/// The process's handles. Their values are multiples of 4. A new handle gets the lowest free value. So, as on
/// Windows, the value of a closed handle soon refers to another object. Any thread may call the functions.
namespace HandleTable {

HANDLE add(std::shared_ptr<HandleObject> object);

/// Adds a window. The value of its handle is never reused.
HANDLE addWindow(std::shared_ptr<HandleObject> window);

std::shared_ptr<HandleObject> find(HANDLE handle);

/// Removes @p handle if @p isKind returns true for the handle's object.
/// @return the removed object. If nothing was removed, sets the last error to ERROR_INVALID_HANDLE and
/// returns null.
std::shared_ptr<HandleObject> remove(HANDLE handle, bool (*isKind)(const HandleObject& object));

/// @return the object that @p handle refers to. If the handle does not refer to an object of the class T,
/// sets the last error to ERROR_INVALID_HANDLE and returns null.
template <typename T>
std::shared_ptr<T> get(HANDLE handle)
{
    auto object = std::dynamic_pointer_cast<T>(find(handle));
    if (!object)
        SetLastError(ERROR_INVALID_HANDLE);
    return object;
}

/// Removes @p handle if it refers to an object of the class T. See remove().
template <typename T>
std::shared_ptr<HandleObject> take(HANDLE handle)
{
    return remove(handle,
                  [](const HandleObject& object) { return dynamic_cast<const T*>(&object) != nullptr; });
}

} // namespace HandleTable
