// What Qt does on Windows only: it initialises COM on the GUI thread, and its windows are the system's. And a
// window's system menu, shown where the desktop has none: on Alt+Space, and on a right click on the window's
// status bar or, while that is hidden, on its free area. The choice reaches the window as WM_SYSCOMMAND.

#include <QApplication>
#include <QHash>
#include <QKeyEvent>
#include <QMenu>
#include <QStatusBar>
#include <QWidget>

#include <ole2.h>

#include "toolkitwindow.h"

namespace {

HWND handleOf(const QWidget* window)
{
    return reinterpret_cast<HWND>(window->internalWinId());
}

/// QWidget::nativeEvent is protected; a pointer to it, named through a derived class, is not.
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
    constexpr WPARAM noise = 0x3; // the low four bits are the system's own
    MSG message = {};
    message.hwnd = handleOf(window);
    message.message = WM_SYSCOMMAND;
    message.wParam = command | noise;
    if (NativeEvents::deliver(window, message))
        return;
    switch (command) {
    case SC_CLOSE:
        window->close();
        break;
    case SC_MINIMIZE:
        window->showMinimized();
        break;
    case SC_RESTORE:
        window->showNormal();
        break;
    default:
        break; // moving and sizing are the desktop's own business
    }
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
    /// The widget has another window, or none any more.
    void follow(QWidget* widget)
    {
        if (const HWND closed = handles.take(widget))
            ToolkitWindow::closed(closed);
        if (!widget->internalWinId())
            return;
        handles.insert(widget, handleOf(widget));
        ToolkitWindow::opened(handleOf(widget));
    }

    /// @return whether the window has a system menu of its own, which is then shown.
    static bool popUp(QWidget* window, const QPoint& position)
    {
        const auto items = ToolkitWindow::systemMenu(handleOf(window));
        if (items.empty())
            return false;
        auto* const menu = new QMenu(window);
        menu->setObjectName(QStringLiteral("systemMenu"));
        menu->setAttribute(Qt::WA_DeleteOnClose);
        for (const ToolkitWindow::MenuItem& item : items) {
            if (item.id == 0) {
                menu->addSeparator();
                continue;
            }
            const UINT command = item.id;
            // Queued: what is chosen may take long, and the menu is to be gone by then.
            connect(
                menu->addAction(QString::fromStdWString(item.text)), &QAction::triggered, window,
                [window, command] { choose(window, command); }, Qt::QueuedConnection);
        }
        menu->popup(position);
        return true;
    }

    QHash<QWidget*, HWND> handles;
};

void install()
{
    static_cast<void>(OleInitialize(nullptr));                          // nothing that it does can fail
    QCoreApplication* const application = QCoreApplication::instance(); // of no kind of its own yet
    application->installEventFilter(new SystemMenuHelper(application));
}

Q_COREAPP_STARTUP_FUNCTION(install)

} // namespace
