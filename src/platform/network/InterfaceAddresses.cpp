#include "platform/network/InterfaceAddresses.h"

#include <array>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace quorvel::platform {

std::vector<InterfaceAddress> ipv4InterfaceAddresses() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) return {};
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> list(first, freeifaddrs);

    std::vector<InterfaceAddress> found;
    for (const ifaddrs* entry = list.get(); entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) continue;
        std::array<char, NI_MAXHOST> host{};
        if (getnameinfo(entry->ifa_addr, sizeof(sockaddr_in), host.data(), host.size(), nullptr, 0,
                        NI_NUMERICHOST) != 0)
            continue;
        const bool outward = (entry->ifa_flags & (IFF_UP | IFF_LOOPBACK)) == IFF_UP;
        found.push_back({entry->ifa_name, outward, host.data()});
    }
    return found;
}

} // namespace quorvel::platform
