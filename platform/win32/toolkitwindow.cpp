#include "toolkitwindow.h"

#include <algorithm>
#include <map>
#include <mutex>

#include "currentthread.h"
#include "lasterror.h"

namespace {

using Menu = std::vector<ToolkitWindow::MenuItem>;

struct Window
{
    DWORD thread = CurrentThread::id; ///< that made it
    Menu menu = {};                   ///< empty until the program asks for it; its handle is the window's
};

struct Windows
{
    std::mutex mutex;
    std::map<HWND, Window> all;
};

Windows& windows()
{
    static auto* const instance = new Windows; // outlives every thread
    return *instance;
}

/// Null with the last error set where there is none. The lock is held.
Window* find(HWND window)
{
    const auto it = windows().all.find(window);
    if (it == windows().all.end())
        return fail(ERROR_INVALID_WINDOW_HANDLE);
    return &it->second;
}

/// The same for a menu.
Menu* menuOf(HMENU handle)
{
    Window* const window = find(reinterpret_cast<HWND>(handle));
    if (!window || window->menu.empty())
        return fail(ERROR_INVALID_MENU_HANDLE);
    return &window->menu;
}

} // namespace

void ToolkitWindow::opened(HWND window)
{
    const std::lock_guard<std::mutex> guard(windows().mutex);
    windows().all[window] = {};
}

void ToolkitWindow::closed(HWND window)
{
    const std::lock_guard<std::mutex> guard(windows().mutex);
    windows().all.erase(window);
}

bool ToolkitWindow::isOfCurrentThread(HWND window)
{
    const std::lock_guard<std::mutex> guard(windows().mutex);
    const Window* const found = find(window);
    return found && (found->thread == CurrentThread::id || fail(ERROR_ACCESS_DENIED));
}

std::vector<ToolkitWindow::MenuItem> ToolkitWindow::systemMenu(HWND window)
{
    const std::lock_guard<std::mutex> guard(windows().mutex);
    const auto it = windows().all.find(window);
    return it == windows().all.end() ? Menu() : it->second.menu;
}

HMENU WINAPI GetSystemMenu(HWND handle, BOOL revert)
{
    if (revert)
        return fail(ERROR_INVALID_PARAMETER); // going back to the usual menu is not modelled
    const std::lock_guard<std::mutex> guard(windows().mutex);
    Window* const window = find(handle);
    if (!window)
        return nullptr;
    if (window->menu.empty())
        window->menu = {
            {SC_RESTORE, L"Restore"},   {SC_MOVE, L"Move"}, {SC_SIZE, L"Size"},   {SC_MINIMIZE, L"Minimize"},
            {SC_MAXIMIZE, L"Maximize"}, {0, L""},           {SC_CLOSE, L"Close"},
        };
    return reinterpret_cast<HMENU>(handle);
}

int WINAPI GetMenuItemCount(HMENU handle)
{
    const std::lock_guard<std::mutex> guard(windows().mutex);
    const Menu* const menu = menuOf(handle);
    return menu ? static_cast<int>(menu->size()) : -1;
}

UINT WINAPI GetMenuItemID(HMENU handle, int position)
{
    constexpr UINT none = 0xFFFFFFFF;
    const std::lock_guard<std::mutex> guard(windows().mutex);
    const Menu* const menu = menuOf(handle);
    if (!menu || position < 0 || static_cast<std::size_t>(position) >= menu->size())
        return none;
    return (*menu)[static_cast<std::size_t>(position)].id;
}

BOOL WINAPI InsertMenuW(HMENU handle, UINT position, UINT flags, UINT_PTR newItemId, LPCWSTR newItem)
{
    const std::lock_guard<std::mutex> guard(windows().mutex);
    Menu* const menu = menuOf(handle);
    if (!menu)
        return FALSE;
    if (flags != (MF_BYPOSITION | MF_STRING))
        return fail(ERROR_INVALID_PARAMETER); // other kinds of item are not modelled
    const auto index = std::min<std::size_t>(position, menu->size());
    menu->insert(menu->begin() + static_cast<std::ptrdiff_t>(index), {static_cast<UINT>(newItemId), newItem});
    return TRUE;
}
