#include "systemmenuitems.h"

#include <algorithm>

#include <windows.h>

#include <QWidget>

namespace {

/// The system keeps the low four bits of a WM_SYSCOMMAND for itself.
constexpr WPARAM commandMask = 0xFFF0;

UINT insertPosition(HMENU menu)
{
    const int count = GetMenuItemCount(menu);
    for (int position = 0; position < count; ++position) {
        // One above Close is the separator that stands before it.
        if (GetMenuItemID(menu, position) == SC_CLOSE)
            return static_cast<UINT>(std::max(position - 1, 0));
    }
    return 0;
}

void insertItem(HMENU menu, UINT position, SystemMenuItems::Command command, const QString& text)
{
    InsertMenuW(menu, position, MF_BYPOSITION | MF_STRING, command, text.toStdWString().c_str());
}

} // namespace

void SystemMenuItems::add(QWidget& window, const QString& overrideText, const QString& aboutText)
{
    const HMENU menu = GetSystemMenu(reinterpret_cast<HWND>(window.winId()), FALSE);
    if (!menu)
        return;
    const UINT position = insertPosition(menu);
    insertItem(menu, position, About, aboutText);
    insertItem(menu, position, Override, overrideText);
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
