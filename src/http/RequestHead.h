#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorvel::http {

/// The parts of a request's head that the server uses.
struct RequestHead {
    /// In upper case.
    std::string method;
    /// As sent.
    std::string target;
    std::optional<std::string> authorization;
    std::optional<std::string> range;
    /// A header announces a body, which will not be read.
    bool announcesBody = false;
};

/// Parses the bytes before the empty line (RFC 9112, section 2.1). None if they are not UTF-8 or
/// the request line has fewer than two words.
std::optional<RequestHead> parseRequestHead(std::string_view head);

/// The target without its query, still percent-encoded; "/" if nothing is left.
std::string_view rawPath(std::string_view target);

/// The raw path with its escapes decoded; unchanged if one is malformed or the result is not UTF-8.
std::string decodedPath(std::string_view rawPath);

} // namespace quorvel::http
