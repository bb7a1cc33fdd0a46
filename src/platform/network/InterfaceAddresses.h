#pragma once

#include <string>
#include <vector>

namespace quorvel::platform {

/// One IPv4 address of this machine, as getifaddrs(3) lists it.
struct InterfaceAddress {
    std::string interfaceName;
    /// IFF_UP without IFF_LOOPBACK; whether a cable is plugged in does not matter.
    bool isUpAndOutward = false;
    /// Dotted quad.
    std::string address;
};

/// The machine's IPv4 addresses in the system's order, read afresh; empty when they cannot be
/// read. Any thread.
std::vector<InterfaceAddress> ipv4InterfaceAddresses();

} // namespace quorvel::platform
