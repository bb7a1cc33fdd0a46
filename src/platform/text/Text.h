#pragma once

#include <string>
#include <string_view>

namespace quorvel::platform {

/// Whether the text is well-formed UTF-8 (RFC 3629).
bool isValidUtf8(std::string_view text);

/// The text with U+FFFD in place of each ill-formed UTF-8 sequence.
std::string withInvalidUtf8Replaced(std::string_view text);

/// Full Unicode case mapping, independent of the locale.
std::string upperCased(std::string_view text);
std::string lowerCased(std::string_view text);

/// The text without tabs and Unicode space separators (category Zs) at both ends.
std::string_view trimmed(std::string_view text);

/// Whether the texts are canonically equivalent (UAX #15). The length of the shorter one bounds the
/// time that it takes; where equally long texts differ does not matter for it.
bool canonicallyEqual(std::string_view left, std::string_view right);

/// Whether the bytes are equal. Where they differ does not show in the time that it takes.
bool equalInConstantTime(std::string_view left, std::string_view right);

/// RFC 4648, section 4, with padding and without line breaks.
std::string base64(std::string_view bytes);

/// Appends the name's sort key. Keys compared as bytes give the order of names in the user's
/// locale (LC_ALL, LC_COLLATE, LANG): case is ignored, runs of digits compare by value.
/// Thread-safe; each thread reads the locale once.
void appendCollationKey(std::string& keys, std::string_view name);

} // namespace quorvel::platform
