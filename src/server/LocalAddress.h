#pragma once

#include "platform/network/InterfaceAddresses.h"

#include <optional>
#include <string>
#include <vector>

namespace quorvel::server {

/// The address by which other machines reach this one, as a dotted quad. Read from the system by
/// each call; none on a machine without IPv4 beyond loopback. Thread-safe.
std::optional<std::string> localIPv4Address();

/// Chooses the address of "en0" if that is up, else that of the first interface that is up and not
/// loopback, in the system's order.
std::optional<std::string>
chooseLocalAddress(const std::vector<platform::InterfaceAddress>& addresses);

} // namespace quorvel::server
