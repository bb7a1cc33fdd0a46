#pragma once

#include <string>
#include <string_view>

namespace quorvel::server {

/// Cleans an absolute path lexically: empty and "." components are removed, ".." removes the
/// component before it and stops at the top, and there is no trailing slash. Touches no disk.
std::string standardizedPath(std::string_view path);

/// Whether the path is the root or below it. Both must be standardized; links are not resolved.
bool isInside(std::string_view root, std::string_view path);

/// A path inside the root relative to it, without a leading slash; "" for the root itself.
std::string_view relativeTo(std::string_view root, std::string_view path);

/// The text after the last slash.
std::string_view lastComponent(std::string_view path);

} // namespace quorvel::server
