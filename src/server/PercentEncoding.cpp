#include "server/PercentEncoding.h"

#include "platform/text/Text.h"

#include <array>
#include <cstddef>

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

const ByteSet& bytesKeptIn(UrlPart part) {
    return part == UrlPart::path ? pathBytes : userBytes;
}

std::optional<unsigned> hexValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return std::nullopt;
}

} // namespace

std::string percentEncoded(std::string_view bytes, UrlPart part) {
    std::string result;
    result.reserve(bytes.size());
    appendPercentEncoded(result, bytes, part);
    return result;
}

void appendPercentEncoded(std::string& to, std::string_view bytes, UrlPart part) {
    const ByteSet& kept = bytesKeptIn(part);
    std::size_t done = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (kept[byte]) continue;
        to.append(bytes, done, i - done);
        to += '%';
        to += hexDigits[byte >> 4];
        to += hexDigits[byte & 15];
        done = i + 1;
    }
    to.append(bytes, done);
}

std::size_t percentEncodedLength(std::string_view bytes, UrlPart part) {
    const ByteSet& kept = bytesKeptIn(part);
    std::size_t length = bytes.size();
    for (const char c : bytes)
        if (!kept[static_cast<unsigned char>(c)]) length += 2;
    return length;
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
