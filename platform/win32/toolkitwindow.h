#pragma once

#include <windows.h>

/// The windows that the toolkit makes, as far as the layer must know them. Callable on any thread.
namespace ToolkitWindow {

/// The calling thread has made @p window.
void opened(HWND window);
/// @p window is gone; its identifier may be used again.
void closed(HWND window);

/// If not, the last error is ERROR_INVALID_WINDOW_HANDLE or, for another thread's, ERROR_ACCESS_DENIED.
bool isOfCurrentThread(HWND window);

} // namespace ToolkitWindow
