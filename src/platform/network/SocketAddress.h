#pragma once

#include <optional>
#include <string>
#include <sys/socket.h>

namespace quorvel::platform {

/// The dotted quad of an IPv4 address; an IPv4-mapped IPv6 address is one (RFC 4291, 2.5.5.2).
/// None for any other address.
std::optional<std::string> ipv4Text(const sockaddr_storage& address);

/// The local address of a connected socket, if it is an IPv4 one (getsockname(2)).
std::optional<std::string> localIPv4Address(int socket);

/// The address of the socket's peer; empty if it has left (getpeername(2)).
std::string peerAddress(int socket);

} // namespace quorvel::platform
