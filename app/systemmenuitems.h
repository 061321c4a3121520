#pragma once

#include <QString>

class QWidget;

/// Adds two items to the main window's system menu, and recognises their commands.
namespace SystemMenuItems {

/// The items' command identifiers. A WM_SYSCOMMAND message carries the identifier of the chosen item.
enum Command : unsigned {
    About = 0x10,
    Override = 0x20,
};

/// Adds two items above the Close item of the system menu of @p window. The upper item has the text @p
/// overrideText, the lower item has the text @p aboutText. Does nothing if the window has no system menu.
/// GUI thread only.
void add(QWidget& window, const QString& overrideText, const QString& aboutText);

/// The command of a native message that QWidget::nativeEvent() received, or 0 if the message is not a
/// system-menu command.
unsigned commandOf(const QByteArray& eventType, const void* message);

} // namespace SystemMenuItems
