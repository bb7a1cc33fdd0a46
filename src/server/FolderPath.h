#pragma once

#include <string>
#include <string_view>

namespace quorvel::server {

/// The path cleaned lexically: no empty and "." components, each ".." takes the component before
/// it away and stops at the top, no trailing slash. Touches no disk. Absolute paths only.
std::string standardizedPath(std::string_view path);

/// Whether the path is the root or below it. Both standardized; links are not looked at.
bool isInside(std::string_view root, std::string_view path);

/// What is left of a path inside the root: "" for the root itself, no leading slash.
std::string_view relativeTo(std::string_view root, std::string_view path);

/// The text after the last slash.
std::string_view lastComponent(std::string_view path);

} // namespace quorvel::server
