#include "ftp/PassiveReply.h"

#include <algorithm>

namespace quorvel::ftp {

std::optional<std::string> passiveReply(std::string_view address, std::uint16_t port) {
    std::string numbers;
    int pieces = 0;
    while (!address.empty()) {
        const auto piece = address.substr(0, address.find('.'));
        address.remove_prefix(std::min(piece.size() + 1, address.size()));
        if (piece.empty()) continue;
        numbers += piece;
        numbers += ',';
        ++pieces;
    }
    if (pieces != 4) return std::nullopt;
    numbers += std::to_string(port / 256) + ',' + std::to_string(port % 256);
    return "227 Entering Passive Mode (" + numbers + ")\r\n";
}

std::string extendedPassiveReply(std::uint16_t port) {
    return "229 Entering Extended Passive Mode (|||" + std::to_string(port) + "|)\r\n";
}

} // namespace quorvel::ftp
