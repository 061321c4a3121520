// Drives the visible top-level window with the title TITLE. Exit status 1 if the window does not appear
// within the time limit (`gone`: does not disappear) or does not answer.
//
//     windowtool desktop                   exit status 0 if programs can create windows already
//     windowtool wait|gone TITLE           waits until the window appears or disappears
//     windowtool shown TITLE               exit status 0 if the window is visible now
//     windowtool keys TITLE KEY...         presses the keys tab, space, enter or escape
//     windowtool command TITLE NUMBER      chooses the item NUMBER of its system menu
//     windowtool menu TITLE                prints its system menu
//     windowtool text TITLE                prints "identifier: name" of each element for screen readers
//     windowtool message TITLE             prints the texts of a message box
//     windowtool possessions TITLE         prints how many handles and threads its process has
//     windowtool close TITLE
#include <cstdio>
#include <map>
#include <string>

#include <windows.h>

#include "menuhook.h"
#include "possessions.h"
#include "windowtext.h"

namespace {

constexpr DWORD timeLimitMs = 300000; // enough in a virtual machine on a busy computer
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
    const FARPROC procedure = GetProcAddress(module, "windowProcedureHook");
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

bool printMessage(HWND window)
{
    HWND control = nullptr;
    while ((control = FindWindowExW(window, control, L"Static", nullptr))) {
        wchar_t text[512]{};
        DWORD_PTR length = 0;
        if (SendMessageTimeoutW(control, WM_GETTEXT, std::size(text), reinterpret_cast<LPARAM>(text),
                                SMTO_NORMAL, timeLimitMs, &length))
            std::printf("%ls\n", text);
    }
    return true;
}

bool printText(HWND window)
{
    constexpr LPARAM uiAutomationRoot = -25; // UiaRootObjectId
    wchar_t folder[MAX_PATH]{};
    GetTempPathW(MAX_PATH, folder);
    const std::wstring path = std::wstring(folder) + windowTextFile;
    DeleteFileW(path.c_str());
    DWORD_PTR result = 0;
    return SendMessageTimeoutW(window, WM_GETOBJECT, 0, uiAutomationRoot, SMTO_NORMAL, timeLimitMs,
                               &result) &&
           printFile(path);
}

WPARAM keyNamed(const std::wstring& name)
{
    static const std::map<std::wstring, WPARAM> keys{
        {L"tab", VK_TAB}, {L"space", VK_SPACE}, {L"enter", VK_RETURN}, {L"escape", VK_ESCAPE}};
    const auto found = keys.find(name);
    return found == keys.end() ? 0 : found->second;
}

bool pressKeys(HWND window, int count, wchar_t* names[])
{
    for (int i = 0; i < count; ++i) {
        const WPARAM key = keyNamed(names[i]);
        if (key == 0 || !PostMessageW(window, WM_KEYDOWN, key, 0) || !PostMessageW(window, WM_KEYUP, key, 0))
            return false;
    }
    return true;
}

bool printPossessions(HWND window)
{
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    const Possessions has = possessionsOf(process);
    std::printf("%lu handles, %lu threads\n", has.handles, has.threads);
    return has.threads > 0;
}

bool canCreateWindows()
{
    const HWND window =
        CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    return window && DestroyWindow(window);
}

bool isShown(const wchar_t* title)
{
    const HWND window = FindWindowW(nullptr, title);
    return window && IsWindowVisible(window);
}

bool waitUntilGone(const wchar_t* title)
{
    for (const DWORD start = GetTickCount(); GetTickCount() - start < timeLimitMs; Sleep(pollMs)) {
        if (!isShown(title))
            return true;
    }
    return false;
}

bool run(const std::wstring& verb, HWND window, int argumentCount, wchar_t* arguments[])
{
    if (verb == L"wait")
        return true;
    if (verb == L"menu")
        return printSystemMenu(window);
    if (verb == L"text")
        return printText(window);
    if (verb == L"message")
        return printMessage(window);
    if (verb == L"possessions")
        return printPossessions(window);
    if (verb == L"keys")
        return pressKeys(window, argumentCount, arguments);
    if (verb == L"close")
        return PostMessageW(window, WM_CLOSE, 0, 0) != FALSE;
    if (verb == L"command" && argumentCount == 1)
        return PostMessageW(window, WM_SYSCOMMAND, std::wcstoul(arguments[0], nullptr, 0), 0) != FALSE;
    return false;
}

} // namespace

int wmain(int argc, wchar_t* argv[])
{
    const std::wstring verb = argc > 1 ? argv[1] : L"";
    if (verb == L"desktop")
        return canCreateWindows() ? 0 : 1;
    if (argc < 3)
        return 1;
    if (verb == L"shown")
        return isShown(argv[2]) ? 0 : 1;
    if (verb == L"gone")
        return waitUntilGone(argv[2]) ? 0 : 1;
    const HWND window = findWindow(argv[2]);
    return window && run(verb, window, argc - 3, argv + 3) ? 0 : 1;
}
