#pragma once

class QPalette;

/// Font and colours for the bench's windows. Call the functions after the application object is created.
namespace Looks {

/// Sets the usual text size and turns off subpixel antialiasing, which suits only one kind of screen.
void setFont();

/// @return a palette with light text on a dark background.
QPalette darkPalette();

} // namespace Looks
