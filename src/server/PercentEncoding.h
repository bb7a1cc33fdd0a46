#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel::server {

/// Which characters besides ASCII letters and digits stay as they are.
enum class UrlPart {
    path, ///< ! $ & ' ( ) * + , - . / : ; = @ _ ~ (RFC 3986, section 3.3)
    user, ///< - . _ ~ ! $ & ' ( ) * + , ; = (RFC 3986, section 3.2.1, without ":")
};

/// Every other byte becomes "%" and two upper-case hexadecimal digits.
std::string percentEncoded(std::string_view bytes, UrlPart part);
void appendPercentEncoded(std::string& to, std::string_view bytes, UrlPart part);

/// The length of what `percentEncoded` returns.
std::size_t percentEncodedLength(std::string_view bytes, UrlPart part);

/// None when a "%" is not followed by two hexadecimal digits, or the result is not UTF-8.
std::optional<std::string> percentDecoded(std::string_view text);

} // namespace quorvel::server
