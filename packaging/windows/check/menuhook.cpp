// A hook that windowtool sets in the process of a window, because not every system lets other processes read
// the window's system menu.
#include <string>

#include <windows.h>

#include "menuhook.h"

namespace {

HMODULE thisModule = nullptr;

void listSystemMenu(HWND window)
{
    wchar_t path[MAX_PATH]{};
    GetModuleFileNameW(thisModule, path, MAX_PATH);
    const HANDLE file = CreateFileW((std::wstring(path) + menuListSuffix).c_str(), GENERIC_WRITE, 0, nullptr,
                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return;
    const HMENU menu = GetSystemMenu(window, FALSE);
    for (int position = 0; position < GetMenuItemCount(menu); ++position) {
        char text[100]{};
        GetMenuStringA(menu, static_cast<UINT>(position), text, sizeof(text), MF_BYPOSITION);
        char line[120]{};
        const int length = wsprintfA(line, "%04X %s\n", GetMenuItemID(menu, position), text);
        DWORD written = 0;
        WriteFile(file, line, static_cast<DWORD>(length), &written, nullptr);
    }
    CloseHandle(file);
}

} // namespace

extern "C" __declspec(dllexport) LRESULT CALLBACK windowProcedureHook(int code, WPARAM wParam, LPARAM lParam)
{
    const CWPSTRUCT* const call = reinterpret_cast<const CWPSTRUCT*>(lParam);
    if (code == HC_ACTION && call->message == RegisterWindowMessageW(listSystemMenuMessage))
        listSystemMenu(call->hwnd);
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

BOOL WINAPI DllMain(HINSTANCE module, DWORD, LPVOID)
{
    thisModule = module;
    return TRUE;
}
