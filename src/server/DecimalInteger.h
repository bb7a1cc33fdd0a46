#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quorvel::server {

/// Parses an optional sign and one or more ASCII digits. None for anything else, and if the value
/// does not fit into 64 bits.
std::optional<std::int64_t> decimalInteger(std::string_view text);

} // namespace quorvel::server
