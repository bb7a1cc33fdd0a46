#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorvel::http {

/// The location of a decoded request path: a standardized absolute path inside the root, or none if
/// the path leaves the root. Purely lexical.
std::optional<std::string> resolveRequestPath(std::string_view root, std::string_view decodedPath);

/// The Location of a redirect to the raw path with a slash appended. The client's escapes are kept;
/// control bytes and backslashes are escaped and leading slashes become one, so that the header
/// line stays whole and no browser reads another host ("//host/" or "/\host/", RFC 3986, 4.2).
std::string redirectLocation(std::string_view rawPath);

} // namespace quorvel::http
