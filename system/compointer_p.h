#pragma once

#include <utility>

#include <objbase.h>

/// Owns one reference to a COM object, or none. Without one every call returns E_POINTER: a call can succeed
/// without delivering an interface (S_FALSE), and this class checks for that instead of each caller.
template <typename Interface>
class ComPointer
{
public:
    ComPointer() = default;
    ~ComPointer() { reset(nullptr); }
    ComPointer(const ComPointer&) = delete;
    ComPointer& operator=(const ComPointer&) = delete;

    Interface* get() const { return object; }

    /// Takes over the caller's reference to @p other.
    void reset(Interface* other)
    {
        if (object)
            object->Release();
        object = other;
    }

    /// The pointer in which a call stores the reference that it returns.
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
