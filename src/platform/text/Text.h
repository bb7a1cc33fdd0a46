#pragma once

#include <string>
#include <string_view>

namespace quorvel::platform {

/// Well-formed UTF-8 (RFC 3629).
bool isValidUtf8(std::string_view text);

/// The text with U+FFFD in place of what is not UTF-8.
std::string withInvalidUtf8Replaced(std::string_view text);

/// Full Unicode case mapping without a language.
std::string upperCased(std::string_view text);
std::string lowerCased(std::string_view text);

/// The text without tabs and Unicode space separators (category Zs) at both ends.
std::string_view trimmed(std::string_view text);

/// Whether both are the same text in Unicode's canonical sense (UAX #15).
bool canonicallyEqual(std::string_view left, std::string_view right);

/// RFC 4648, section 4, with padding and without line breaks.
std::string base64(std::string_view bytes);

/// Appends the bytes whose order is the order of names in the user's locale: letter case does not
/// count, runs of digits compare by value. Any thread.
void appendCollationKey(std::string& keys, std::string_view name);

} // namespace quorvel::platform
