#include "model/ServerType.h"

#include <algorithm>

namespace quorvel::model {

std::string_view rawValue(ServerType type) {
    return type == ServerType::ftp ? "FTP" : "HTTP";
}

std::optional<ServerType> serverTypeFrom(std::string_view text) {
    const auto* const found = std::ranges::find(allServerTypes, text, rawValue);
    return found == allServerTypes.end() ? std::nullopt : std::optional(*found);
}

std::string_view scheme(ServerType type) {
    return type == ServerType::ftp ? "ftp" : "http";
}

std::int64_t defaultPort(ServerType type) {
    return type == ServerType::ftp ? 21 : 80;
}

} // namespace quorvel::model
