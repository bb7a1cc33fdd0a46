#pragma once

#include "platform/network/InterfaceAddresses.h"

#include <optional>
#include <string>
#include <vector>

namespace quorvel::server {

/// The address other machines reach this one by, as a dotted quad, read afresh; none on a
/// machine without IPv4 beyond loopback. Any thread.
std::optional<std::string> localIPv4Address();

/// The choice it makes: the address of "en0" if that is up, else the first of any interface that
/// is up and not loopback, in the system's order.
std::optional<std::string>
chooseLocalAddress(const std::vector<platform::InterfaceAddress>& addresses);

} // namespace quorvel::server
