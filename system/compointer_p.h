#pragma once

#include <utility>

#include <objbase.h>

/// Owns one reference to a COM object. Where there is none, every call is answered with E_POINTER: a call can
/// succeed without delivering an interface (S_FALSE), and that is found out here instead of at each caller.
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

    /// Where a call stores the reference that it hands out.
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
