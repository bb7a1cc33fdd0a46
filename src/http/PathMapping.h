#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorvel::http {

/// The location that a decoded request path names, as a cleaned absolute path inside the root;
/// none when it leaves the root. Looks at the text only, touches no file.
std::optional<std::string> resolveRequestPath(std::string_view root, std::string_view decodedPath);

/// What a redirect to the raw path with a slash behind it may carry: escapes as the client sent
/// them, but nothing that would end the line, and nothing that a browser would read as another
/// host ("//host/" or "/\host/", RFC 3986, section 4.2).
std::string redirectLocation(std::string_view rawPath);

} // namespace quorvel::http
