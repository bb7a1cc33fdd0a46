#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quorvel::server {

/// A sign or none, then one or more ASCII digits and nothing else; none for anything else and
/// beyond 64 bits.
std::optional<std::int64_t> decimalInteger(std::string_view text);

} // namespace quorvel::server
