// Replaces uiautomationcore.dll. Wine 8's own DLL waits forever for Qt's windows, because they are in a
// single-threaded apartment. When a program sends WM_GETOBJECT to a window, this library writes a line
// "identifier: name" for each element that the window shows to screen readers. The lines go to the file
// "window-text.txt" in the temporary folder.
#include <cstdio>
#include <string>

#include <windows.h>

#include <oleauto.h>
#include <uiautomationclient.h>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace {

std::wstring textProperty(IRawElementProviderSimple& element, PROPERTYID property)
{
    VARIANT value;
    VariantInit(&value);
    std::wstring text;
    if (SUCCEEDED(element.GetPropertyValue(property, &value)) && value.vt == VT_BSTR && value.bstrVal)
        text = value.bstrVal;
    VariantClear(&value);
    return text;
}

void writeLine(std::FILE* file, IRawElementProviderSimple& element)
{
    const std::wstring line = textProperty(element, UIA_AutomationIdPropertyId) + L": " +
                              textProperty(element, UIA_NamePropertyId) + L"\n";
    char bytes[4000];
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, line.c_str(), -1, bytes, sizeof(bytes), nullptr, nullptr);
    if (size > 0)
        std::fwrite(bytes, 1, static_cast<std::size_t>(size - 1), file);
}

// NOLINTNEXTLINE(misc-no-recursion): recurses only as deep as the window's widgets are nested
void writeElements(std::FILE* file, IRawElementProviderSimple& element)
{
    writeLine(file, element);
    ComPtr<IRawElementProviderFragment> fragment;
    if (FAILED(element.QueryInterface(IID_PPV_ARGS(&fragment))))
        return;
    NavigateDirection direction = NavigateDirection_FirstChild;
    ComPtr<IRawElementProviderFragment> next;
    while (SUCCEEDED(fragment->Navigate(direction, &next)) && next) {
        ComPtr<IRawElementProviderSimple> child;
        if (SUCCEEDED(next.As(&child)))
            writeElements(file, *child.Get());
        fragment = next;
        direction = NavigateDirection_NextSibling;
    }
}

} // namespace

extern "C" {

__declspec(dllexport) LRESULT WINAPI
    UiaReturnRawElementProvider(HWND, WPARAM, LPARAM, IRawElementProviderSimple* window)
{
    wchar_t folder[MAX_PATH]{};
    GetTempPathW(MAX_PATH, folder);
    std::FILE* const file =
        window ? _wfopen((std::wstring(folder) + L"window-text.txt").c_str(), L"wb") : nullptr;
    if (!file)
        return 0;
    writeElements(file, *window);
    std::fclose(file);
    return 0;
}

__declspec(dllexport) HRESULT WINAPI UiaHostProviderFromHwnd(HWND, IRawElementProviderSimple**)
{
    return E_NOTIMPL;
}

__declspec(dllexport) HRESULT WINAPI
    UiaRaiseAutomationPropertyChangedEvent(IRawElementProviderSimple*, PROPERTYID, VARIANT, VARIANT)
{
    return S_OK;
}

__declspec(dllexport) HRESULT WINAPI UiaRaiseAutomationEvent(IRawElementProviderSimple*, EVENTID)
{
    return S_OK;
}

__declspec(dllexport) BOOL WINAPI UiaClientsAreListening()
{
    return FALSE;
}

} // extern "C"
