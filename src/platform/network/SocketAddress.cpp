#include "platform/network/SocketAddress.h"

#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <netinet/in.h>

namespace quorvel::platform {

std::optional<std::string> ipv4Text(const sockaddr_storage& address) {
    in_addr ipv4{};
    if (address.ss_family == AF_INET) {
        ipv4 = reinterpret_cast<const sockaddr_in&>(address).sin_addr;
    } else if (address.ss_family == AF_INET6) {
        const auto& ipv6 = reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
        if (!IN6_IS_ADDR_V4MAPPED(&ipv6)) return std::nullopt;
        std::memcpy(&ipv4, &ipv6.s6_addr[12], sizeof ipv4);
    } else {
        return std::nullopt;
    }
    std::array<char, INET_ADDRSTRLEN> text{};
    if (inet_ntop(AF_INET, &ipv4, text.data(), text.size()) == nullptr) return std::nullopt;
    return std::string(text.data());
}

std::optional<std::string> localIPv4Address(int socket) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return std::nullopt;
    return ipv4Text(address);
}

std::string peerAddress(int socket) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (getpeername(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) return {};
    if (auto text = ipv4Text(address)) return *text;
    std::array<char, INET6_ADDRSTRLEN> text{};
    inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr, text.data(),
              text.size());
    return text.data();
}

} // namespace quorvel::platform
