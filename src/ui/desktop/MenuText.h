#pragma once

#include <QString>

namespace quorvel::ui {

/// Where a menu is drawn decides which characters in it mark a letter instead of being shown.
enum class MenuDrawnBy {
    ourselves, ///< QMenu: "&".
    trayHost,  ///< com.canonical.dbusmenu: "_", which Qt makes of the first "&".
};

/// The text that shows as this one.
QString menuText(const QString& text, MenuDrawnBy drawer);

} // namespace quorvel::ui
