#pragma once

class QString;
class QWidget;

/// Pictures of the updater's screens. GUI thread.
namespace Photographer {

/// Saves a picture of @p screen at @p path. A window gets a plain frame with its title, as there may be no
/// desktop to draw one.
/// @return false where it could not be saved.
[[nodiscard]] bool save(const QString& path, QWidget& screen);

} // namespace Photographer
