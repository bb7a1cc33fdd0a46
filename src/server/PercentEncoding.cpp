#include "server/PercentEncoding.h"

#include "platform/text/Text.h"

#include <array>

namespace quorvel::server {

namespace {

constexpr std::string_view hexDigits = "0123456789ABCDEF";

using ByteSet = std::array<bool, 256>;

constexpr ByteSet lettersDigitsAnd(std::string_view others) {
    ByteSet set{};
    for (char c = '0'; c <= '9'; ++c)
        set[static_cast<unsigned char>(c)] = true;
    for (char c = 'a'; c <= 'z'; ++c)
        set[static_cast<unsigned char>(c)] = true;
    for (char c = 'A'; c <= 'Z'; ++c)
        set[static_cast<unsigned char>(c)] = true;
    for (const char c : others)
        set[static_cast<unsigned char>(c)] = true;
    return set;
}

constexpr ByteSet pathBytes = lettersDigitsAnd("!$&'()*+,-./:;=@_~");
constexpr ByteSet userBytes = lettersDigitsAnd("-._~!$&'()*+,;=");

std::optional<unsigned> hexValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return std::nullopt;
}

} // namespace

std::string percentEncoded(std::string_view bytes, UrlPart part) {
    const ByteSet& kept = part == UrlPart::path ? pathBytes : userBytes;
    std::string result;
    result.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (kept[byte]) {
            result += c;
        } else {
            result += '%';
            result += hexDigits[byte >> 4];
            result += hexDigits[byte & 15];
        }
    }
    return result;
}

std::optional<std::string> percentDecoded(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            result += text[at];
            continue;
        }
        if (at + 2 >= text.size()) return std::nullopt;
        const auto high = hexValue(text[at + 1]);
        const auto low = hexValue(text[at + 2]);
        if (!high || !low) return std::nullopt;
        result += static_cast<char>(*high << 4 | *low);
        at += 2;
    }
    if (!platform::isValidUtf8(result)) return std::nullopt;
    return result;
}

} // namespace quorvel::server
