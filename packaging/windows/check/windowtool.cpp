// Drives the visible top-level window with the title TITLE. The exit status is 1 if the window does not
// answer, or does not appear within the time limit. With `gone` the exit status is 1 if the window does not
// disappear within the time limit.
//
//     windowtool desktop                 exit status 0 if programs can already create windows
//     windowtool wait|gone TITLE         waits until the window appears (wait) or disappears (gone)
//     windowtool shown TITLE             exit status 0 if the window is visible now
//     windowtool keys TITLE KEY...       presses the keys tab, space, enter or up
//     windowtool command TITLE NUMBER    sends the system command NUMBER, such as 0xF100, which opens the
//                                        system menu
//     windowtool text TITLE              requests the texts for screen readers; see standin/uiautomation.cpp
//     windowtool message TITLE           prints the texts of a message box
//     windowtool counts TITLE            prints the numbers of handles and threads of the window's process
//     windowtool close TITLE             asks the window to close
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <windows.h>

#include <winternl.h>

namespace {

constexpr DWORD timeLimitMs = 300000; // enough in a virtual machine on a busy computer
constexpr DWORD pollMs = 50;

bool isShown(const wchar_t* title)
{
    const HWND window = FindWindowW(nullptr, title);
    return window && IsWindowVisible(window);
}

bool waitUntil(bool shown, const wchar_t* title)
{
    for (const DWORD start = GetTickCount(); GetTickCount() - start < timeLimitMs; Sleep(pollMs)) {
        if (isShown(title) == shown)
            return true;
    }
    return false;
}

bool send(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    DWORD_PTR result = 0;
    return SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, timeLimitMs, &result) != 0;
}

bool printMessage(HWND window)
{
    HWND control = nullptr;
    while ((control = FindWindowExW(window, control, L"Static", nullptr))) {
        wchar_t text[512]{};
        if (send(control, WM_GETTEXT, std::size(text), reinterpret_cast<LPARAM>(text)))
            std::printf("%ls\n", text);
    }
    return true;
}

bool pressKeys(HWND window, int count, wchar_t* names[])
{
    static const std::map<std::wstring, WPARAM> keys{
        {L"tab", VK_TAB}, {L"space", VK_SPACE}, {L"enter", VK_RETURN}, {L"up", VK_UP}};
    for (int i = 0; i < count; ++i) {
        const auto key = keys.find(names[i]);
        if (key == keys.end() || !PostMessageW(window, WM_KEYDOWN, key->second, 0) ||
            !PostMessageW(window, WM_KEYUP, key->second, 0))
            return false;
    }
    return true;
}

/// Returns nothing if the system does not answer, or if the answer is longer than 1 MiB.
std::vector<BYTE> systemInformation(SYSTEM_INFORMATION_CLASS kind)
{
    std::vector<BYTE> information(1 << 20);
    const NTSTATUS status =
        NtQuerySystemInformation(kind, information.data(), static_cast<ULONG>(information.size()), nullptr);
    return NT_SUCCESS(status) ? information : std::vector<BYTE>();
}

/// Counts the handles in the system's list of all handles, since Wine's list of processes contains the sizes
/// of the handle tables instead.
std::ptrdiff_t handleCount(DWORD process)
{
    const std::vector<BYTE> information = systemInformation(SystemHandleInformation);
    if (information.empty())
        return 0;
    const auto* const list = reinterpret_cast<const SYSTEM_HANDLE_INFORMATION*>(information.data());
    const SYSTEM_HANDLE_ENTRY* const first = list->Handle;
    return std::count_if(first, first + list->Count,
                         [process](const SYSTEM_HANDLE_ENTRY& entry) { return entry.OwnerPid == process; });
}

ULONG threadCount(DWORD process)
{
    const std::vector<BYTE> information = systemInformation(SystemProcessInformation);
    for (const BYTE* at = information.data(); at;) {
        const auto* const entry = reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(at);
        if (entry->UniqueProcessId == UlongToHandle(process))
            return entry->NumberOfThreads;
        at = entry->NextEntryOffset != 0 ? at + entry->NextEntryOffset : nullptr;
    }
    return 0;
}

bool printCounts(HWND window)
{
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    const std::ptrdiff_t handles = handleCount(process);
    const ULONG threads = threadCount(process);
    std::printf("%td %lu\n", handles, threads);
    return handles > 0 && threads > 0;
}

bool canCreateWindows()
{
    const HWND window =
        CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    return window && DestroyWindow(window);
}

bool run(const std::wstring& verb, HWND window, int argumentCount, wchar_t* arguments[])
{
    if (verb == L"wait")
        return true;
    if (verb == L"keys")
        return pressKeys(window, argumentCount, arguments);
    if (verb == L"command" && argumentCount == 1)
        return PostMessageW(window, WM_SYSCOMMAND, std::wcstoul(arguments[0], nullptr, 0), 0) != FALSE;
    if (verb == L"text")
        return send(window, WM_GETOBJECT, 0, -25); // UiaRootObjectId
    if (verb == L"message")
        return printMessage(window);
    if (verb == L"counts")
        return printCounts(window);
    return verb == L"close" && PostMessageW(window, WM_CLOSE, 0, 0);
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
        return waitUntil(false, argv[2]) ? 0 : 1;
    return waitUntil(true, argv[2]) && run(verb, FindWindowW(nullptr, argv[2]), argc - 3, argv + 3) ? 0 : 1;
}
