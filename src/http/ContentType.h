#pragma once

#include <string_view>

namespace quorvel::http {

/// The text after the last dot of a file name; empty if there is no dot, or only a leading one.
std::string_view fileExtension(std::string_view fileName);

/// The Content-Type value for an extension, whose letter case does not matter;
/// "application/octet-stream" if the extension is unknown.
std::string_view mimeType(std::string_view extension);

} // namespace quorvel::http
