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

/// A number that differs where texts do (the FNV-1a hash).
template <typename Character>
constexpr unsigned long hashOf(const Character* text)
{
    unsigned long hash = 2166136261;
    for (; *text != 0; ++text)
        hash = (hash ^ static_cast<unsigned long>(*text)) * 16777619;
    return hash;
}

/// Identifiers that differ in the first, in the last and in no bit.
constexpr GUID oneGuid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
constexpr GUID likeGuid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
constexpr GUID otherGuids[] = {{0, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}}, {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 139}}};

#define RECORD(text, value) asm volatile("#@ " text " %c0" : : "i"(value));

#define CONSTANT(name) RECORD("constant " #name, (unsigned long)(name))
#define TEXT(name) RECORD("text of " #name, hashOf(name))
#define BODY(name)                                                                                           \
    RECORD(#name " of equals", name(oneGuid, likeGuid) ? 1 : 0)                                              \
    RECORD(#name ", first bit", name(oneGuid, otherGuids[0]) ? 1 : 0)                                        \
    RECORD(#name ", last bit", name(oneGuid, otherGuids[1]) ? 1 : 0)
#define TYPE(name) RECORD("type " #name, ofType<name>)
#define FUNCTION(name) RECORD("function " #name, ofType<decltype(&name)>)
#define SIZE(structure) RECORD("size of " #structure, sizeof(structure))
#define MEMBER(structure, name)                                                                              \
    RECORD("offset of " #structure "." #name, offsetof(structure, name))                                     \
    RECORD("type of " #structure "." #name, ofType<decltype(structure::name)>)
#define METHOD(interface, name)                                                                              \
    RECORD("place of " #interface "." #name, placeOf(theMethod<interface>(&interface::name)))                \
    RECORD("type of " #interface "." #name, ofType<decltype(theMethod<interface>(&interface::name))>)
