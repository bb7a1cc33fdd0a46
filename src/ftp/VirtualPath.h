#pragma once

#include <string>
#include <string_view>

namespace quorvel::ftp {

/// Resolves the argument against the working directory: an absolute path within the share, without
/// "." and "..", which cannot climb above the top. Bytes stay as the client sent them.
std::string resolvePath(std::string_view workingDirectory, std::string_view argument);

/// The location on disk of a path within the share. Purely lexical.
std::string urlForVirtualPath(std::string_view root, std::string_view path);

} // namespace quorvel::ftp
