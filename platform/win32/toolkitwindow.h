#pragma once

#include <string>
#include <vector>

#include <windows.h>

/// The windows that the toolkit makes, of which the layer would not know otherwise, and the model of their
/// system menus, for whoever shows them on a desktop that has none. Callable on any thread.
namespace ToolkitWindow {

struct MenuItem
{
    UINT id = 0; ///< 0 for a separator
    std::wstring text;
};

/// @p window was made, on the calling thread.
void opened(HWND window);
/// It is gone; its identifier may be used again.
void closed(HWND window);

/// Otherwise with ERROR_INVALID_WINDOW_HANDLE, or ERROR_ACCESS_DENIED for another thread's, as last error.
bool isOfCurrentThread(HWND window);

/// Nothing where the program has not asked for the window's system menu, which then is the usual one.
std::vector<MenuItem> systemMenu(HWND window);

} // namespace ToolkitWindow
