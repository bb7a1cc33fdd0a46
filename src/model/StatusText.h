#pragma once

#include "model/ShareAddress.h"
#include "model/State.h"

#include <optional>
#include <string>
#include <string_view>

namespace quorvel::model {

/// The one line about the server that the menu shows.
std::string statusText(const State& state, std::string_view primaryURL);

/// The lines that the settings window shows of a running server, joined by line feeds. The LAN
/// address is none on a machine without one.
std::string runningInfoText(const Share& share, const std::optional<std::string>& lanAddress,
                            std::string_view folderPath);

} // namespace quorvel::model
