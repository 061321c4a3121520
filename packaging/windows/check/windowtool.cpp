// windowtool wait|menu|space|close TITLE, windowtool command TITLE NUMBER: looks after the visible top-level
// window of that title. Exit status 1 where it did not show up within the time limit, or could not be asked.
#include <cstdio>
#include <string>

#include <windows.h>

#include "menuhook.h"

namespace {

constexpr DWORD timeLimitMs = 60000;
constexpr DWORD pollMs = 50;

HWND findWindow(const wchar_t* title)
{
    for (const DWORD start = GetTickCount(); GetTickCount() - start < timeLimitMs; Sleep(pollMs)) {
        const HWND window = FindWindowW(nullptr, title);
        if (window && IsWindowVisible(window))
            return window;
    }
    return nullptr;
}

bool printFile(const std::wstring& path)
{
    FILE* const file = _wfopen(path.c_str(), L"r");
    if (!file)
        return false;
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file))
        std::putchar(c);
    std::fclose(file);
    return true;
}

bool printSystemMenu(HWND window)
{
    const HMODULE module = LoadLibraryW(L"menuhook.dll");
    if (!module)
        return false;
    const FARPROC procedure = GetProcAddress(module, "windowProcedureHook@12");
    const HHOOK hook =
        SetWindowsHookExW(WH_CALLWNDPROC, reinterpret_cast<HOOKPROC>(reinterpret_cast<void*>(procedure)),
                          module, GetWindowThreadProcessId(window, nullptr));
    if (!hook)
        return false;
    DWORD_PTR result = 0;
    const bool sent = SendMessageTimeoutW(window, RegisterWindowMessageW(listSystemMenuMessage), 0, 0,
                                          SMTO_NORMAL, timeLimitMs, &result) != 0;
    UnhookWindowsHookEx(hook);
    wchar_t path[MAX_PATH]{};
    GetModuleFileNameW(module, path, MAX_PATH);
    return sent && printFile(std::wstring(path) + menuListSuffix);
}

bool run(const std::wstring& verb, HWND window, const wchar_t* argument)
{
    if (verb == L"wait")
        return true;
    if (verb == L"menu")
        return printSystemMenu(window);
    if (verb == L"space")
        return PostMessageW(window, WM_KEYDOWN, VK_SPACE, 0) && PostMessageW(window, WM_KEYUP, VK_SPACE, 0);
    if (verb == L"close")
        return PostMessageW(window, WM_CLOSE, 0, 0) != FALSE;
    if (verb == L"command" && argument)
        return PostMessageW(window, WM_SYSCOMMAND, std::wcstoul(argument, nullptr, 0), 0) != FALSE;
    return false;
}

} // namespace

int wmain(int argc, wchar_t* argv[])
{
    if (argc < 3)
        return 1;
    const HWND window = findWindow(argv[2]);
    return window && run(argv[1], window, argc > 3 ? argv[3] : nullptr) ? 0 : 1;
}
