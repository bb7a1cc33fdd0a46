#include "http/ByteRange.h"

#include "platform/text/Text.h"
#include "server/DecimalInteger.h"

#include <algorithm>

namespace quorvel::http {

namespace {

constexpr std::string_view bytesUnit = "bytes=";

std::string_view firstRange(std::string_view spec) {
    const auto start = spec.find_first_not_of(',');
    if (start == std::string_view::npos) return spec;
    spec.remove_prefix(start);
    return spec.substr(0, spec.find(','));
}

std::optional<ByteRange> suffixRange(std::string_view length, std::int64_t size) {
    const auto count = server::decimalInteger(length);
    if (!count || *count < 1) return std::nullopt;
    return ByteRange{std::max<std::int64_t>(size - *count, 0), size - 1};
}

} // namespace

bool isByteRange(std::string_view headerValue) {
    return platform::lowerCased(headerValue).starts_with(bytesUnit);
}

std::optional<ByteRange> parseRange(std::string_view headerValue, std::int64_t size) {
    if (size <= 0 || !isByteRange(headerValue)) return std::nullopt;
    const auto range = firstRange(headerValue.substr(bytesUnit.size()));
    const auto dash = range.find('-');
    if (dash == std::string_view::npos) return std::nullopt;
    const auto start = platform::trimmed(range.substr(0, dash));
    const auto end = platform::trimmed(range.substr(dash + 1));
    if (start.empty()) return suffixRange(end, size);

    const auto first = server::decimalInteger(start);
    const auto last = end.empty() ? size - 1 : server::decimalInteger(end);
    if (!first || !last) return std::nullopt;
    const ByteRange result{*first, std::min(*last, size - 1)};
    if (result.first < 0 || result.first > result.last) return std::nullopt;
    return result;
}

} // namespace quorvel::http
