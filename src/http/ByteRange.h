#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quorvel::http {

/// Both offsets count from 0 and are inside the file; `last` is included.
struct ByteRange {
    std::int64_t first = 0;
    std::int64_t last = 0;

    std::int64_t length() const { return last - first + 1; }
    bool operator==(const ByteRange&) const = default;
};

/// Whether the unit of a Range header is bytes; other units are ignored (RFC 9110, 14.2).
bool isByteRange(std::string_view headerValue);

/// The first range of the header value, clamped to the file's size; none if it is malformed or not
/// satisfiable (RFC 9110, section 14.1.2).
std::optional<ByteRange> parseRange(std::string_view headerValue, std::int64_t size);

} // namespace quorvel::http
