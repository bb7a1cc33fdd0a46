#pragma once

#include "model/ShareAddress.h"
#include "model/State.h"

#include <optional>
#include <string>
#include <string_view>

namespace quorvel::model {

/// The line about the server in the menu.
std::string statusText(const State& state, std::string_view primaryURL);

/// The lines about a running server in the settings window, separated by line feeds. The LAN
/// address is none if the machine has none.
std::string runningInfoText(const Share& share, const std::optional<std::string>& lanAddress,
                            std::string_view folderPath);

} // namespace quorvel::model
