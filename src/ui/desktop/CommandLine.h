#pragma once

#include <optional>
#include <span>
#include <string>

namespace quorvel::ui {

/// The exit status, if the arguments after the program's name ask for nothing that needs a desktop,
/// are wrong, or there is no desktop; what had to be said has then been said. Options with a single
/// hyphen are left to Qt.
std::optional<int> answeredWithoutDesktop(std::span<char* const> arguments);

/// Complains about an argument, and returns the exit status for that.
int refused(const std::string& reason, const std::string& argument);

} // namespace quorvel::ui
