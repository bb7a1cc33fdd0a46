#pragma once

#include <string>
#include <string_view>

namespace quorvel::ftp {

/// The path within the share that the argument names, seen from the working directory: absolute,
/// without "." and "..", which stops at the top. Bytes stay as the client sent them.
std::string resolvePath(std::string_view workingDirectory, std::string_view argument);

/// Where a path within the share is on disk. Touches no disk.
std::string urlForVirtualPath(std::string_view root, std::string_view path);

} // namespace quorvel::ftp
