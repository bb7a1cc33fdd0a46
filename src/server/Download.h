#pragma once

#include <cstddef>

namespace quorvel::server {

/// The most that one read of a file and one send carry, with one chunk in flight per transfer.
inline constexpr std::size_t downloadChunkSize = 262144;

} // namespace quorvel::server
