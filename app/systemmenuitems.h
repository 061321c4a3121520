#pragma once

#include <QString>

class QWidget;

/// The two items that the main window adds to its own system menu.
namespace SystemMenuItems {

/// The items' command identifiers, which WM_SYSCOMMAND carries.
enum Command : unsigned {
    About = 0x10,
    Override = 0x20,
};

/// Inserts an item @p overrideText, and below it an item @p aboutText, near the Close item of the system menu
/// of @p window. Does nothing if the window has no system menu. GUI thread only.
void add(QWidget& window, const QString& overrideText, const QString& aboutText);

/// The command of a native message that QWidget::nativeEvent() received, or 0 if it is not a
/// system-menu command.
unsigned commandOf(const QByteArray& eventType, const void* message);

} // namespace SystemMenuItems
