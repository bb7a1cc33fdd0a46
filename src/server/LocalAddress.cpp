#include "server/LocalAddress.h"

namespace quorvel::server {

std::optional<std::string>
chooseLocalAddress(const std::vector<platform::InterfaceAddress>& addresses) {
    std::optional<std::string> candidate;
    for (const auto& entry : addresses) {
        if (!entry.isUpAndOutward) continue;
        if (entry.interfaceName == "en0") return entry.address;
        if (!candidate) candidate = entry.address;
    }
    return candidate;
}

std::optional<std::string> localIPv4Address() {
    return chooseLocalAddress(platform::ipv4InterfaceAddresses());
}

} // namespace quorvel::server
