#pragma once

#include <QString>

class QWidget;

/// The two items that the main window adds to its own system menu.
namespace SystemMenuItems {

/// The items' command identifiers, as they come back in WM_SYSCOMMAND.
enum Command : unsigned {
    About = 0x10,
    Override = 0x20,
};

/// Inserts @p overrideText directly above @p aboutText near the Close item of the system menu of @p window.
/// A window without a system menu is left alone. GUI thread only.
void add(QWidget& window, const QString& overrideText, const QString& aboutText);

/// The command of the native message that QWidget::nativeEvent() got, or 0 where it is no system-menu
/// command.
unsigned commandOf(const QByteArray& eventType, const void* message);

} // namespace SystemMenuItems
