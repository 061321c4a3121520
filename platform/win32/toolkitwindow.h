#pragma once

#include <windows.h>

/// Records which thread made each of Qt's windows. Callable on any thread.
namespace ToolkitWindow {

/// Call it on the thread that has made @p window.
void opened(HWND window);
/// Call it when @p window is gone; its handle may be reused.
void closed(HWND window);

/// Whether the calling thread has made @p window. If not, sets the last error: ERROR_ACCESS_DENIED if another
/// thread has made it, otherwise ERROR_INVALID_WINDOW_HANDLE.
bool isOfCurrentThread(HWND window);

} // namespace ToolkitWindow
