#pragma once

#include <QString>

namespace quorvel::ui {

/// Who draws a menu, and the character that marks a mnemonic there instead of being shown.
enum class MenuDrawnBy {
    ourselves, ///< QMenu: "&".
    trayHost,  ///< com.canonical.dbusmenu: "_", which Qt puts for the first "&".
};

/// Escapes the text so that the menu shows it literally.
QString menuText(const QString& text, MenuDrawnBy drawer);

} // namespace quorvel::ui
