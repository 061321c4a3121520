#pragma once

class QWidget;

/// The boxes that the main window opens. Each call returns when the user has answered. GUI thread only.
namespace MessageBoxes {

/// Asks whether a device that cannot be identified is to be updated. @return whether it is.
[[nodiscard]] bool confirmUnknownIdentity(QWidget* window);

/// Asks whether one device is to be updated alone. @return whether it is.
[[nodiscard]] bool confirmSingleDevice(QWidget* window);

void reportLoadingFailure(QWidget* window);

/// Names the program and its version.
void showAbout(QWidget* window);

} // namespace MessageBoxes
