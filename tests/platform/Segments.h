#pragma once

#include <cstdint>

namespace quorvel::test {

/// How many segments with data a TCP socket has received.
std::uint32_t segmentsReceived(int socket);

} // namespace quorvel::test
