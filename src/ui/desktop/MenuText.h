#pragma once

#include <QString>
#include <string>

namespace quorvel::ui {

/// Who draws a menu, and the character that marks a mnemonic there instead of being shown.
enum class MenuDrawnBy {
    ourselves, ///< QMenu: "&".
    trayHost,  ///< com.canonical.dbusmenu: "_", which Qt puts for the first "&".
};

/// The status with its link's login cut in the middle if it is long, so that the address shows.
QString shortStatus(const std::string& status);

/// Escapes the text so that the menu shows it literally.
QString menuText(const QString& text, MenuDrawnBy drawer);

} // namespace quorvel::ui
