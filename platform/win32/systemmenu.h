#pragma once

#include <string>
#include <vector>

#include <windows.h>

/// The model of a window's system menu, for whoever shows it on a desktop that has none. GUI thread only.
namespace SystemMenu {

struct Item
{
    UINT id = 0; ///< 0 for a separator
    std::wstring text;
};

/// Whether the program has asked for the window's system menu, that is, whether it may differ from the
/// usual one.
bool exists(HWND window);

std::vector<Item> items(HWND window);

/// The window is gone; its identifier may be used again.
void forget(HWND window);

} // namespace SystemMenu
