// Initialises COM on the GUI thread, because Qt itself does so only on Windows. Implements the functions of
// user32 for the end of the session and for the system menu. These functions act on Qt's windows.
//
// Desktops on Linux have no system menu. A QMenu replaces it, and sends WM_SYSCOMMAND to the window.
// Alt+Space and the Menu key open the QMenu. A right click on the status bar or on a free area of the window
// also opens it. The menu's handle is the address of the QMenu. Qt's windows belong to the GUI thread.

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QStatusBar>
#include <QThread>
#include <QWidget>

#include <ole2.h>

#include "lasterror.h"
#include "session.h"

namespace {

/// Calls QWidget::nativeEvent of any window. The function is protected, but a class derived from QWidget may
/// form a pointer to it.
struct NativeEvents : QWidget
{
    static bool deliver(QWidget* window, MSG& message)
    {
        long result = 0;
        return (window->*&NativeEvents::nativeEvent)(QByteArrayLiteral("windows_generic_MSG"), &message,
                                                     &result);
    }
};

void choose(QWidget* window, UINT command)
{
    constexpr WPARAM noise = 0x3; // imitates the low four bits, which Windows uses internally
    MSG message = {};
    message.hwnd = reinterpret_cast<HWND>(window->winId());
    message.message = WM_SYSCOMMAND;
    message.wParam = command | noise;
    if (!NativeEvents::deliver(window, message) && command == SC_CLOSE)
        window->close();
}

const auto menuName = QStringLiteral("systemMenu");

/// The system menu of @p window; null if the program has not called GetSystemMenu for the window.
QMenu* systemMenuOf(const QWidget* window)
{
    return window->findChild<QMenu*>(menuName, Qt::FindDirectChildrenOnly);
}

void insertItem(QMenu& menu, int position, UINT command, const QString& text)
{
    auto* const item = new QAction(text, &menu);
    item->setData(command);
    QWidget* const window = menu.parentWidget();
    // The connection is queued, so that the menu closes before the command runs. The command may take long.
    QObject::connect(
        item, &QAction::triggered, window, [window, command] { choose(window, command); },
        Qt::QueuedConnection);
    menu.insertAction(menu.actions().value(position), item);
}

/// Makes the system menu of @p window. Its only item is Close, because the desktop itself offers to move,
/// size and minimise windows.
QMenu* newSystemMenu(QWidget* window)
{
    auto* const menu = new QMenu(window);
    menu->setObjectName(menuName);
    menu->addSeparator();
    // The program's translations contain this text.
    insertItem(*menu, 1, SC_CLOSE, QCoreApplication::translate("FlashingDialogClass", "Close"));
    return menu;
}

class SystemMenuHelper : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        auto* const widget = qobject_cast<QWidget*>(watched);
        if (!widget)
            return false;
        QWidget* const window = widget->window();
        if (event->type() == QEvent::KeyPress) {
            const auto* const key = static_cast<QKeyEvent*>(event);
            return key->key() == Qt::Key_Space && key->modifiers() == Qt::AltModifier &&
                   popUp(window, window->mapToGlobal(QPoint(0, 0)));
        }
        return event->type() == QEvent::ContextMenu &&
               (qobject_cast<QStatusBar*>(widget) || widget == window) &&
               popUp(window, static_cast<QContextMenuEvent*>(event)->globalPos());
    }

private:
    /// Shows the window's system menu. @return false if the window has none.
    static bool popUp(const QWidget* window, const QPoint& position)
    {
        QMenu* const menu = systemMenuOf(window);
        if (menu)
            menu->popup(position);
        return menu != nullptr;
    }
};

/// @return the window with the handle @p handle. If there is no such window, or the calling thread does not
/// own the window, sets the last error and returns null.
QWidget* ownWindow(HWND handle)
{
    if (QThread::currentThread() != QCoreApplication::instance()->thread())
        return fail(ERROR_ACCESS_DENIED);
    QWidget* const window = QWidget::find(reinterpret_cast<WId>(handle));
    if (!window)
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return window;
}

void install()
{
    static_cast<void>(OleInitialize(nullptr)); // the layer's OleInitialize cannot fail
    // The object is still under construction, so it is used as a QCoreApplication only.
    QCoreApplication* const application = QCoreApplication::instance();
    application->installEventFilter(new SystemMenuHelper(application));
}

Q_COREAPP_STARTUP_FUNCTION(install)

} // namespace

HMENU WINAPI GetSystemMenu(HWND handle, BOOL revert)
{
    if (revert)
        return fail(ERROR_INVALID_PARAMETER); // resetting the menu is not modelled
    QWidget* const window = ownWindow(handle);
    if (!window)
        return nullptr;
    QMenu* const menu = systemMenuOf(window);
    return reinterpret_cast<HMENU>(menu ? menu : newSystemMenu(window));
}

int WINAPI GetMenuItemCount(HMENU menu)
{
    return reinterpret_cast<const QMenu*>(menu)->actions().size();
}

UINT WINAPI GetMenuItemID(HMENU menu, int position)
{
    constexpr UINT none = 0xFFFFFFFF;
    const QAction* const item = reinterpret_cast<const QMenu*>(menu)->actions().value(position);
    return item ? item->data().toUInt() : none; // 0 for a separator
}

BOOL WINAPI InsertMenuW(HMENU menu, UINT position, UINT flags, UINT_PTR newItemId, LPCWSTR newItem)
{
    if (flags != (MF_BYPOSITION | MF_STRING))
        return fail(ERROR_INVALID_PARAMETER); // other kinds of item are not modelled
    insertItem(*reinterpret_cast<QMenu*>(menu), static_cast<int>(position), static_cast<UINT>(newItemId),
               QString::fromWCharArray(newItem));
    return TRUE;
}

BOOL WINAPI ShutdownBlockReasonCreate(HWND window, LPCWSTR reason)
{
    if (!ownWindow(window))
        return FALSE;
    Session* const session = currentMachine().session;
    return (session && session->setBlockReason(window, reason)) || fail(ERROR_NOT_SUPPORTED);
}

BOOL WINAPI ShutdownBlockReasonDestroy(HWND window)
{
    if (!ownWindow(window))
        return FALSE;
    Session* const session = currentMachine().session;
    return (session && session->removeBlockReason(window)) || fail(ERROR_INVALID_WINDOW_HANDLE);
}
