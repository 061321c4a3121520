#pragma once

#include <windows.h>

/// The windows that the toolkit makes, as far as the layer must know them. Callable on any thread.
namespace ToolkitWindow {

/// The calling thread has made @p window.
void opened(HWND window);
/// @p window is gone; its identifier may be used again.
void closed(HWND window);

/// On false the last error is ERROR_INVALID_WINDOW_HANDLE, or ERROR_ACCESS_DENIED for another thread's
/// window.
bool isOfCurrentThread(HWND window);

} // namespace ToolkitWindow
