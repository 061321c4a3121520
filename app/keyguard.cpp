#include "keyguard.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QKeyEvent>

namespace {

constexpr DWORD settlingMs = 500;

bool isMenuOrToolTip(const QWidget& window)
{
    return window.windowType() == Qt::Popup || window.windowType() == Qt::ToolTip;
}

/// Whether @p key presses a button when @p widget receives the key. Enter or Escape presses a button of a
/// dialog even if another widget of the dialog receives the key.
bool pressesButton(const QKeyEvent& key, QWidget* widget)
{
    switch (key.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Escape:
        return true;
    case Qt::Key_Space:
    case Qt::Key_Select:
        // Alt+Space opens the system menu and presses no button.
        return qobject_cast<QAbstractButton*>(widget) && !key.modifiers().testFlag(Qt::AltModifier);
    default:
        return false;
    }
}

} // namespace

KeyGuard::KeyGuard(QObject* parent)
    : QObject(parent)
    , newScreenTick(GetTickCount())
{
    QCoreApplication::instance()->installEventFilter(this);
}

void KeyGuard::noteNewScreen()
{
    newScreenTick = GetTickCount();
}

bool KeyGuard::eventFilter(QObject* watched, QEvent* event)
{
    if (!watched->isWidgetType())
        return false;
    auto* const widget = static_cast<QWidget*>(watched);
    if (isMenuOrToolTip(*widget->window()))
        return false;
    if (event->type() == QEvent::Show && widget->isWindow())
        noteNewScreen();
    if (event->type() != QEvent::KeyPress)
        return false;
    const auto& key = static_cast<QKeyEvent&>(*event);
    return pressesButton(key, widget) && !mayPress(key);
}

bool KeyGuard::mayPress(const QKeyEvent& key) const
{
    return !key.isAutoRepeat() && GetTickCount() - newScreenTick >= settlingMs;
}
