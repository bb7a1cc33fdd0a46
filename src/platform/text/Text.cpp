#include "platform/text/Text.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <glib.h>
#include <memory>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/stringpiece.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace quorvel::platform {

namespace {

// No early exit, so that the compiler can vectorise the loop.
bool isAscii(std::string_view text) {
    unsigned char bits = 0;
    for (const char c : text)
        bits |= static_cast<unsigned char>(c);
    return bits < 0x80;
}

// A text and its canonical decomposition differ at most threefold in length, either way (U+0390,
// U+212A), and so two texts with the same decomposition at most ninefold. Normalising takes time
// that grows with the square of the number of combining marks.
constexpr std::size_t canonicalGrowth = 9;

icu::StringPiece piece(std::string_view text) {
    return {text.data(), static_cast<std::int32_t>(text.size())};
}

// ICU's macros mix signed and unsigned integers.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"

/// Returns the code point at `place` and moves past it; negative if it is not UTF-8.
UChar32 nextCharacter(std::string_view text, std::size_t& place) {
    UChar32 character = 0;
    // NOLINTNEXTLINE(bugprone-inc-dec-in-conditions): inside the macro
    U8_NEXT(text.data(), place, text.size(), character);
    return character;
}

/// Returns the code point before `place` and moves to its start.
UChar32 previousCharacter(std::string_view text, std::size_t& place) {
    UChar32 character = 0;
    auto at = static_cast<std::int32_t>(place);
    U8_PREV(text.data(), 0, at, character);
    place = static_cast<std::size_t>(at);
    return character;
}

#pragma GCC diagnostic pop

bool isTrimmable(UChar32 character) {
    if (character < 0x80) return character == ' ' || character == '\t';
    return u_charType(character) == U_SPACE_SEPARATOR;
}

template <class Mapping>
std::string mapped(std::string_view text, Mapping mapping) {
    std::string result;
    icu::StringByteSink<std::string> sink(&result);
    UErrorCode status = U_ZERO_ERROR;
    mapping(text, sink, status);
    return U_SUCCESS(status) ? result : std::string(text);
}

std::string normalized(std::string_view text) {
    return mapped(text, [](std::string_view from, icu::ByteSink& to, UErrorCode& status) {
        const auto* const nfc = icu::Normalizer2::getNFCInstance(status);
        if (U_SUCCESS(status)) nfc->normalizeUTF8(0, piece(from), to, nullptr, status);
    });
}

} // namespace

bool isValidUtf8(std::string_view text) {
    if (isAscii(text)) return true;
    for (std::size_t place = 0; place < text.size();)
        if (nextCharacter(text, place) < 0) return false;
    return true;
}

std::string withInvalidUtf8Replaced(std::string_view text) {
    if (isValidUtf8(text)) return std::string(text);
    std::string result;
    for (std::size_t place = 0; place < text.size();) {
        const std::size_t start = place;
        const bool isValid = nextCharacter(text, place) >= 0;
        result += isValid ? text.substr(start, place - start) : std::string_view("\xEF\xBF\xBD");
    }
    return result;
}

std::string upperCased(std::string_view text) {
    if (isAscii(text)) {
        std::string result(text);
        std::ranges::transform(result, result.begin(), g_ascii_toupper);
        return result;
    }
    return mapped(text, [](std::string_view from, icu::ByteSink& to, UErrorCode& status) {
        icu::CaseMap::utf8ToUpper("", 0, piece(from), to, nullptr, status);
    });
}

std::string lowerCased(std::string_view text) {
    if (isAscii(text)) {
        std::string result(text);
        std::ranges::transform(result, result.begin(), g_ascii_tolower);
        return result;
    }
    return mapped(text, [](std::string_view from, icu::ByteSink& to, UErrorCode& status) {
        icu::CaseMap::utf8ToLower("", 0, piece(from), to, nullptr, status);
    });
}

std::string_view trimmed(std::string_view text) {
    std::size_t first = 0;
    for (std::size_t place = 0; place < text.size(); first = place)
        if (!isTrimmable(nextCharacter(text, place))) break;
    std::size_t last = text.size();
    for (std::size_t place = last; place > first; last = place)
        if (!isTrimmable(previousCharacter(text, place))) break;
    return text.substr(first, last - first);
}

bool canonicallyEqual(std::string_view left, std::string_view right) {
    if (left.size() > canonicalGrowth * right.size()) return false;
    if (right.size() > canonicalGrowth * left.size()) return false;
    if (isAscii(left) && isAscii(right)) return equalInConstantTime(left, right);
    return equalInConstantTime(normalized(left), normalized(right));
}

bool equalInConstantTime(std::string_view left, std::string_view right) {
    if (left.size() != right.size()) return false;
    int difference = 0;
    for (std::size_t i = 0; i < left.size(); ++i)
        difference |= left[i] ^ right[i];
    return difference == 0;
}

std::string base64(std::string_view bytes) {
    const std::unique_ptr<gchar, decltype(&g_free)> text(
        g_base64_encode(reinterpret_cast<const guchar*>(bytes.data()), bytes.size()), g_free);
    return text.get();
}

} // namespace quorvel::platform
