// windowtext TITLE: prints a line "identifier: name" for every element of the window that UI Automation tells
// of, such as a screen reader gets them. Exit status 1 where it cannot be asked.
#include <cstdio>
#include <string>

#include <windows.h>

#include <oleauto.h>

namespace {

// UI Automation for clients without COM objects, from the Windows documentation; mingw-w64 does not declare
// it.
using Node = struct NodeHandle*;
enum ConditionKind { Always = 0 };
struct Condition
{
    ConditionKind kind;
};
struct CacheRequest
{
    const Condition* view;
    int scope;
    const int* properties;
    int propertyCount;
    const int* patterns;
    int patternCount;
    int elementMode;
};
struct FindParameters
{
    int maxDepth;
    BOOL isFirstEnough;
    BOOL isRootExcluded;
    const Condition* condition;
};
constexpr int elementScope = 1;
constexpr int fullElements = 1;
constexpr int unlimited = -1;
constexpr int nameProperty = 30005;
constexpr int automationIdProperty = 30011;

using NodeFromHandle = HRESULT(WINAPI*)(HWND, Node*);
using Find = HRESULT(WINAPI*)(Node, FindParameters*, CacheRequest*, SAFEARRAY**, SAFEARRAY**, SAFEARRAY**);

template <typename Function>
Function function(const char* name)
{
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(L"uiautomationcore.dll"), name)));
}

std::string textAt(SAFEARRAY* table, LONG row, LONG column)
{
    LONG place[] = {row, column};
    VARIANT value;
    VariantInit(&value);
    std::string text;
    if (SUCCEEDED(SafeArrayGetElement(table, place, &value)) && value.vt == VT_BSTR && value.bstrVal) {
        char bytes[2000];
        const int size =
            WideCharToMultiByte(CP_UTF8, 0, value.bstrVal, -1, bytes, sizeof(bytes), nullptr, nullptr);
        text.assign(bytes, size > 0 ? static_cast<std::size_t>(size - 1) : 0);
    }
    VariantClear(&value);
    return text;
}

} // namespace

int wmain(int argc, wchar_t* argv[])
{
    const auto nodeFromHandle = function<NodeFromHandle>("UiaNodeFromHandle");
    const auto find = function<Find>("UiaFind");
    const HWND window = argc == 2 ? FindWindowW(nullptr, argv[1]) : nullptr;
    Node node = nullptr;
    if (!window || !nodeFromHandle || !find || FAILED(CoInitialize(nullptr)) ||
        FAILED(nodeFromHandle(window, &node)))
        return 1;
    const Condition always{Always};
    const int properties[] = {automationIdProperty, nameProperty};
    CacheRequest wanted{&always, elementScope, properties, 2, nullptr, 0, fullElements};
    FindParameters everything{unlimited, FALSE, FALSE, &always};
    SAFEARRAY* table = nullptr;
    SAFEARRAY* offsets = nullptr;
    SAFEARRAY* structures = nullptr;
    if (FAILED(find(node, &everything, &wanted, &table, &offsets, &structures)) || !table)
        return 1;
    LONG last = 0;
    SafeArrayGetUBound(table, 1, &last);
    for (LONG row = 0; row <= last; ++row)
        std::printf("%s: %s\n", textAt(table, row, 1).c_str(), textAt(table, row, 2).c_str());
    return 0;
}
