#pragma once

#include "platform/files/FolderEntry.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace quorvel::http {

/// Replaces & < > and the double quote by their entities.
std::string htmlEscape(std::string_view text);

/// The decoded path with a slash at both ends.
std::string displayPath(std::string_view decodedPath);

/// Appends the page that lists the entries in the given order: one line of UTF-8.
void appendIndexPage(std::string& page, std::span<const platform::FolderEntry> entries,
                     std::string_view decodedPath);

/// The length of that page in bytes, which does not depend on the order.
std::size_t indexPageLength(std::span<const platform::FolderEntry> entries,
                            std::string_view decodedPath);

} // namespace quorvel::http
