#pragma once

#include <string_view>

namespace quorvel::http {

/// The text after the last dot of a file name; empty without one, and for a name whose only dot
/// is its first character.
std::string_view fileExtension(std::string_view fileName);

/// The Content-Type value for an extension in any case; "application/octet-stream" for one that
/// is not known.
std::string_view mimeType(std::string_view extension);

} // namespace quorvel::http
