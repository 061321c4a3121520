#pragma once

class QWidget;

/// Shows the main window's message boxes. Each function returns when the user has closed its box. GUI thread
/// only.
namespace MessageBoxes {

/// Asks whether to update a device that cannot be identified. @return whether the user agrees.
[[nodiscard]] bool confirmUnknownIdentity(QWidget* window);

/// Asks whether to update one device alone. @return whether the user agrees.
[[nodiscard]] bool confirmSingleDevice(QWidget* window);

void reportLoadingFailure(QWidget* window);

/// Shows the program's name and version.
void showAbout(QWidget* window);

} // namespace MessageBoxes
