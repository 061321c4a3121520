// Writes one line "#@ name value" per declaration into the assembly that the compiler puts out. Only
// compiled.
#pragma once

#include <cstddef>
#include <cstring>

#include <objbase.h>

template <typename T>
void ofType();

/// The place of a virtual operation in its interface's table, as the compiler's pointers to members hold it.
template <typename Method>
inline std::ptrdiff_t placeOf(Method method)
{
    std::ptrdiff_t place;
    std::memcpy(&place, &method, sizeof(place));
    return place;
}

/// Itself. The second form picks the operation of the table where an interface overloads QueryInterface().
template <typename Interface, typename Method>
constexpr auto theMethod(Method Interface::*method)
{
    return method;
}
template <typename Interface>
constexpr auto theMethod(HRESULT (STDMETHODCALLTYPE Interface::*method)(REFIID, void**))
{
    return method;
}

#define RECORD(text, value) asm volatile("#@ " text " %c0" : : "i"(value));

#define CONSTANT(name) RECORD("constant " #name, (unsigned long)(name))
#define TYPE(name) RECORD("type " #name, ofType<name>)
#define FUNCTION(name) RECORD("function " #name, ofType<decltype(&name)>)
#define SIZE(structure) RECORD("size of " #structure, sizeof(structure))
#define MEMBER(structure, name)                                                                              \
    RECORD("offset of " #structure "." #name, offsetof(structure, name))                                     \
    RECORD("type of " #structure "." #name, ofType<decltype(structure::name)>)
#define METHOD(interface, name)                                                                              \
    RECORD("place of " #interface "." #name, placeOf(theMethod<interface>(&interface::name)))                \
    RECORD("type of " #interface "." #name, ofType<decltype(theMethod<interface>(&interface::name))>)
