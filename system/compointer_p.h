#pragma once

#include <utility>

#include <objbase.h>

/// Owns one reference to a COM object, or none. A COM call can succeed with S_FALSE and deliver no object.
/// Callers need not check for this case, because call() without an object returns E_POINTER.
template <typename Interface>
class ComPointer
{
public:
    ComPointer() = default;
    ~ComPointer() { reset(nullptr); }
    ComPointer(const ComPointer&) = delete;
    ComPointer& operator=(const ComPointer&) = delete;

    Interface* get() const { return object; }

    /// Releases the owned reference. Then takes over the caller's reference to @p other, which may be null.
    void reset(Interface* other)
    {
        if (object)
            object->Release();
        object = other;
    }

    /// Releases the owned reference. Returns the address at which a COM call can store a new reference.
    Interface** receive()
    {
        reset(nullptr);
        return &object;
    }

    template <typename Operation, typename... Arguments>
    [[nodiscard]] HRESULT call(Operation operation, Arguments&&... arguments) const
    {
        return object ? (object->*operation)(std::forward<Arguments>(arguments)...) : E_POINTER;
    }

private:
    Interface* object = nullptr;
};
