#include "systemmenu.h"

#include <algorithm>
#include <map>
#include <memory>

#include "lasterror.h"
#include "toolkitwindow.h"

namespace {

struct Menu
{
    std::vector<SystemMenu::Item> items{
        {SC_RESTORE, L"Restore"},   {SC_MOVE, L"Move"}, {SC_SIZE, L"Size"},   {SC_MINIMIZE, L"Minimize"},
        {SC_MAXIMIZE, L"Maximize"}, {0, L""},           {SC_CLOSE, L"Close"},
    };
};

std::map<HWND, std::unique_ptr<Menu>>& menus()
{
    static std::map<HWND, std::unique_ptr<Menu>> all;
    return all;
}

Menu* menuOf(HMENU handle)
{
    for (const auto& entry : menus()) {
        if (reinterpret_cast<HMENU>(entry.second.get()) == handle)
            return entry.second.get();
    }
    return fail(ERROR_INVALID_MENU_HANDLE);
}

} // namespace

bool SystemMenu::exists(HWND window)
{
    return menus().count(window) != 0;
}

std::vector<SystemMenu::Item> SystemMenu::items(HWND window)
{
    const auto it = menus().find(window);
    return it == menus().end() ? std::vector<Item>() : it->second->items;
}

void SystemMenu::forget(HWND window)
{
    menus().erase(window);
}

HMENU WINAPI GetSystemMenu(HWND window, BOOL revert)
{
    if (!ToolkitWindow::exists(window))
        return nullptr;
    auto& menu = menus()[window];
    if (revert) {
        menu.reset();
        return nullptr;
    }
    if (!menu)
        menu = std::make_unique<Menu>();
    return reinterpret_cast<HMENU>(menu.get());
}

int WINAPI GetMenuItemCount(HMENU handle)
{
    const Menu* const menu = menuOf(handle);
    return menu ? static_cast<int>(menu->items.size()) : -1;
}

UINT WINAPI GetMenuItemID(HMENU handle, int position)
{
    constexpr UINT none = 0xFFFFFFFF;
    const Menu* const menu = menuOf(handle);
    if (!menu || position < 0 || static_cast<std::size_t>(position) >= menu->items.size())
        return none;
    return menu->items[static_cast<std::size_t>(position)].id;
}

BOOL WINAPI InsertMenuW(HMENU handle, UINT position, UINT flags, UINT_PTR newItemId, LPCWSTR newItem)
{
    Menu* const menu = menuOf(handle);
    if (!menu)
        return FALSE;
    if (flags != (MF_BYPOSITION | MF_STRING))
        return fail(ERROR_INVALID_PARAMETER); // other kinds of item are not modelled
    const auto index = std::min<std::size_t>(position, menu->items.size());
    menu->items.insert(menu->items.begin() + static_cast<std::ptrdiff_t>(index),
                       {static_cast<UINT>(newItemId), newItem});
    return TRUE;
}
