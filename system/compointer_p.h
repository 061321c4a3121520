#pragma once

#include <utility>

#include <objbase.h>

/// Owns one reference to a COM object, or none. Without a reference, call() returns E_POINTER. So callers
/// need not check whether a COM call that returned S_FALSE delivered an interface.
template <typename Interface>
class ComPointer
{
public:
    ComPointer() = default;
    ~ComPointer() { reset(nullptr); }
    ComPointer(const ComPointer&) = delete;
    ComPointer& operator=(const ComPointer&) = delete;

    Interface* get() const { return object; }

    /// Releases the reference. Takes over the caller's reference to @p other, which may be null.
    void reset(Interface* other)
    {
        if (object)
            object->Release();
        object = other;
    }

    /// Releases the reference. Returns the address at which a COM call can store a new reference.
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
