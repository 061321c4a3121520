// Does what Qt does only on Windows: initialises COM on the GUI thread, and makes Qt's windows known to the
// layer.
//
// Also provides a window's system menu, because desktops here have none: a QMenu that sends WM_SYSCOMMAND to
// the window. Alt+Space opens it, and so do the Menu key and a right click on the window's status bar or,
// while that is hidden, on the window's free area. The menu functions may be called on the GUI thread only.

#include <QApplication>
#include <QHash>
#include <QKeyEvent>
#include <QMenu>
#include <QStatusBar>
#include <QWidget>

#include <ole2.h>

#include "lasterror.h"
#include "toolkitwindow.h"

namespace {

HWND handleOf(const QWidget* window)
{
    return reinterpret_cast<HWND>(window->internalWinId());
}

/// QWidget::nativeEvent is protected, but a derived class may form a pointer to it.
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
    constexpr WPARAM noise = 0x3; // the system uses the low four bits
    MSG message = {};
    message.hwnd = handleOf(window);
    message.message = WM_SYSCOMMAND;
    message.wParam = command | noise;
    if (!NativeEvents::deliver(window, message) && command == SC_CLOSE)
        window->close();
}

/// The menu's handle is its address.
class SystemMenu : public QMenu
{
public:
    explicit SystemMenu(QWidget* window)
        : QMenu(window)
    {
        // The desktop offers to move, size and minimise windows, so the menu starts with Close only. The
        // program's catalogues contain the text.
        addSeparator();
        insert(1, SC_CLOSE, QCoreApplication::translate("FlashingDialogClass", "Close"));
    }

    static SystemMenu* of(const QWidget* window)
    {
        for (QObject* const child : window->children()) {
            if (auto* const menu = dynamic_cast<SystemMenu*>(child))
                return menu;
        }
        return nullptr;
    }

    /// The menu with that handle; null, with the last error set, if there is none.
    static SystemMenu* at(HMENU handle)
    {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            auto* const menu = dynamic_cast<SystemMenu*>(widget);
            if (menu && reinterpret_cast<HMENU>(menu) == handle)
                return menu;
        }
        return fail(ERROR_INVALID_MENU_HANDLE);
    }

    void insert(int position, UINT command, const QString& text)
    {
        auto* const item = new QAction(text, this);
        item->setData(command);
        QWidget* const window = parentWidget();
        // Queued so that the menu closes first, because the command may take long.
        connect(
            item, &QAction::triggered, window, [window, command] { choose(window, command); },
            Qt::QueuedConnection);
        insertAction(actions().value(position), item);
    }
};

class SystemMenuHelper : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        auto* const widget = qobject_cast<QWidget*>(watched);
        if (!widget)
            return false;
        if (event->type() == QEvent::WinIdChange)
            follow(widget);
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
    /// The widget has got another window, or has lost its own.
    void follow(QWidget* widget)
    {
        if (const HWND closed = handles.take(widget))
            ToolkitWindow::closed(closed);
        if (!widget->internalWinId())
            return;
        handles.insert(widget, handleOf(widget));
        ToolkitWindow::opened(handleOf(widget));
    }

    /// Shows the window's system menu if the program has asked for one. @return whether it has.
    static bool popUp(const QWidget* window, const QPoint& position)
    {
        SystemMenu* const menu = SystemMenu::of(window);
        if (menu)
            menu->popup(position);
        return menu != nullptr;
    }

    QHash<QWidget*, HWND> handles;
};

void install()
{
    static_cast<void>(OleInitialize(nullptr));                          // it cannot fail here
    QCoreApplication* const application = QCoreApplication::instance(); // not yet a QApplication
    application->installEventFilter(new SystemMenuHelper(application));
}

Q_COREAPP_STARTUP_FUNCTION(install)

} // namespace

HMENU WINAPI GetSystemMenu(HWND handle, BOOL revert)
{
    if (revert)
        return fail(ERROR_INVALID_PARAMETER); // resetting the menu is not modelled
    QWidget* const window = QWidget::find(reinterpret_cast<WId>(handle));
    if (!window)
        return fail(ERROR_INVALID_WINDOW_HANDLE);
    SystemMenu* const menu = SystemMenu::of(window);
    return reinterpret_cast<HMENU>(menu ? menu : new SystemMenu(window));
}

int WINAPI GetMenuItemCount(HMENU handle)
{
    const SystemMenu* const menu = SystemMenu::at(handle);
    return menu ? menu->actions().size() : -1;
}

UINT WINAPI GetMenuItemID(HMENU handle, int position)
{
    constexpr UINT none = 0xFFFFFFFF;
    const SystemMenu* const menu = SystemMenu::at(handle);
    const QAction* const item = menu ? menu->actions().value(position) : nullptr;
    if (!item)
        return none;
    return item->data().toUInt(); // 0 for a separator
}

BOOL WINAPI InsertMenuW(HMENU handle, UINT position, UINT flags, UINT_PTR newItemId, LPCWSTR newItem)
{
    SystemMenu* const menu = SystemMenu::at(handle);
    if (!menu)
        return FALSE;
    if (flags != (MF_BYPOSITION | MF_STRING))
        return fail(ERROR_INVALID_PARAMETER); // other kinds of item are not modelled
    menu->insert(static_cast<int>(position), static_cast<UINT>(newItemId), QString::fromWCharArray(newItem));
    return TRUE;
}
