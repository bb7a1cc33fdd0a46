#include "http/PathMapping.h"

#include "server/FolderPath.h"

namespace quorvel::http {

std::optional<std::string> resolveRequestPath(std::string_view root, std::string_view decodedPath) {
    std::string candidate(root);
    candidate += '/';
    candidate += decodedPath;
    std::string location = server::standardizedPath(candidate);
    if (!server::isInside(root, location)) return std::nullopt;
    return location;
}

std::string redirectLocation(std::string_view rawPath) {
    constexpr std::string_view hexDigits = "0123456789ABCDEF";
    std::string location;
    for (const char c : rawPath) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '/' && location == "/") continue;
        if (byte < 0x20 || byte == 0x7F || c == '\\') {
            location += '%';
            location += hexDigits[byte >> 4];
            location += hexDigits[byte & 15];
        } else {
            location += c;
        }
    }
    return location + '/';
}

} // namespace quorvel::http
