#pragma once

#include <windows.h>

/// The windows that the toolkit makes, of which the layer would not know otherwise. Callable on any thread.
namespace ToolkitWindow {

/// @p window was made, on the calling thread.
void opened(HWND window);
void closed(HWND window);

/// Otherwise with ERROR_INVALID_WINDOW_HANDLE as last error.
bool exists(HWND window);

/// Otherwise with ERROR_INVALID_WINDOW_HANDLE, or ERROR_ACCESS_DENIED for another thread's, as last error.
bool isOfCurrentThread(HWND window);

} // namespace ToolkitWindow
