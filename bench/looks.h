#pragma once

class QPalette;

/// How the windows look where there is no desktop that tells. To be called when the application object
/// exists.
namespace Looks {

/// Text of a size that is usual on desktops, without colour fringes, which suit one kind of screen only.
void setFont();

/// Light text on dark ground.
QPalette darkPalette();

} // namespace Looks
