#include "systemmenuitems.h"

#include <algorithm>

#include <windows.h>

#include <QWidget>

namespace {

/// Windows uses the low four bits of a WM_SYSCOMMAND's wParam internally. This mask removes them.
constexpr WPARAM commandMask = 0xFFF0;

UINT insertPosition(HMENU menu)
{
    const int count = GetMenuItemCount(menu);
    for (int position = 0; position < count; ++position) {
        // The new items go above the separator that precedes Close.
        if (GetMenuItemID(menu, position) == SC_CLOSE)
            return static_cast<UINT>(std::max(position - 1, 0));
    }
    return 0;
}

} // namespace

void SystemMenuItems::add(QWidget& window, const QString& overrideText, const QString& aboutText)
{
    const HMENU menu = GetSystemMenu(reinterpret_cast<HWND>(window.winId()), FALSE);
    if (!menu)
        return;
    const UINT position = insertPosition(menu);
    InsertMenuW(menu, position, MF_BYPOSITION | MF_STRING, About, aboutText.toStdWString().c_str());
    InsertMenuW(menu, position, MF_BYPOSITION | MF_STRING, Override, overrideText.toStdWString().c_str());
}

unsigned SystemMenuItems::commandOf(const QByteArray& eventType, const void* message)
{
    if (eventType != "windows_generic_MSG")
        return 0;
    const MSG* const nativeMessage = static_cast<const MSG*>(message);
    if (nativeMessage->message != WM_SYSCOMMAND)
        return 0;
    return static_cast<unsigned>(nativeMessage->wParam & commandMask);
}
