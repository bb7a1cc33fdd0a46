#pragma once

#include "platform/files/SharedFolder.h"

#include <string>
#include <string_view>
#include <vector>

namespace quorvel::http {

/// & < > and the double quote as entities, in this order.
std::string htmlEscape(std::string_view text);

/// The decoded path with a slash at both ends.
std::string displayPath(std::string_view decodedPath);

/// The page that lists the entries in their order, one line of UTF-8. Names on disk that are not
/// UTF-8 show U+FFFD and link to their bytes.
std::string indexPage(const std::vector<platform::FolderEntry>& entries,
                      std::string_view decodedPath);

} // namespace quorvel::http
