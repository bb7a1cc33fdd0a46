#pragma once

#include <optional>
#include <string>
#include <sys/socket.h>

namespace quorvel::platform {

/// The dotted quad of an IPv4 address; an IPv4-mapped IPv6 address is one (RFC 4291, 2.5.5.2).
/// None for any other address.
std::optional<std::string> ipv4Text(const sockaddr_storage& address);

/// The address without its port, in the same form if it is IPv4; empty if it is neither.
std::string addressText(const sockaddr_storage& address);

} // namespace quorvel::platform
