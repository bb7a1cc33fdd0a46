#include "server/DecimalInteger.h"

#include <charconv>
#include <system_error>

namespace quorvel::server {

std::optional<std::int64_t> decimalInteger(std::string_view text) {
    // from_chars takes a minus sign, but no plus.
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return std::nullopt;
    }
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return value;
}

} // namespace quorvel::server
