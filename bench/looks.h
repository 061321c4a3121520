#pragma once

class QPalette;

/// Font and colours for windows without a desktop. Call these when the application object exists.
namespace Looks {

/// Text of the usual size, without colour fringes, which are right for one kind of screen only.
void setFont();

/// Light text on a dark background.
QPalette darkPalette();

} // namespace Looks
