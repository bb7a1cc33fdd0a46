#pragma once

#include "platform/files/SharedFolder.h"

#include <string>
#include <string_view>
#include <vector>

namespace quorvel::http {

/// Replaces & < > and the double quote by their entities.
std::string htmlEscape(std::string_view text);

/// The decoded path with a slash at both ends.
std::string displayPath(std::string_view decodedPath);

/// The page that lists the entries in the given order: one line of UTF-8.
std::string indexPage(const std::vector<platform::FolderEntry>& entries,
                      std::string_view decodedPath);

} // namespace quorvel::http
