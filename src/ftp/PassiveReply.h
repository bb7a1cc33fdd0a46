#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel::ftp {

/// The 227 reply to PASV (RFC 959); none if the address is not a dotted quad.
std::optional<std::string> passiveReply(std::string_view address, std::uint16_t port);

/// The 229 reply to EPSV (RFC 2428).
std::string extendedPassiveReply(std::uint16_t port);

} // namespace quorvel::ftp
