#include "server/DecimalInteger.h"
#include "server/FolderPath.h"
#include "server/LocalAddress.h"
#include "server/PercentEncoding.h"
#include "server/ServerError.h"

#include <cctype>
#include <gtest/gtest.h>

namespace quorvel::server {

using Pair = std::pair<std::string, std::string>;

TEST(FolderPath, IsCleanedLexicallyAndTellsInsideFromOutside) {
    for (const auto& [path, expected] :
         {Pair{"/", "/"}, Pair{"//", "/"}, Pair{"/a/share/", "/a/share"}, Pair{"/a/..", "/"},
          Pair{"/a//b/./c", "/a/b/c"}, Pair{"/a/b/../c", "/a/c"}, Pair{"/../../a", "/a"},
          Pair{"/a/.../..b/c.", "/a/.../..b/c."}, Pair{"/a/b/../../../../c/..", "/"}})
        EXPECT_EQ(standardizedPath(path), expected) << path;
    for (const auto& [path, relative] :
         {Pair{"/a/share", ""}, Pair{"/a/share/b/c", "b/c"}, Pair{"/a/share2", "none"},
          Pair{"/a/share2/b", "none"}, Pair{"/a", "none"}, Pair{"/b/share/c", "none"}}) {
        EXPECT_EQ(isInside("/a/share", path) ? relativeTo("/a/share", path) : "none", relative);
        EXPECT_EQ(isInside("/", path) ? "/" + std::string(relativeTo("/", path)) : "none", path);
    }
    EXPECT_EQ(relativeTo("/", "/"), "");
    EXPECT_EQ(lastComponent("/a/b.txt"), "b.txt");
    EXPECT_EQ(lastComponent("/"), "");
}

TEST(PercentEncoding, KeepsWhatTheUrlPartMayHoldAndDecodesAllOrNothing) {
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        const auto isKept = [&](std::string_view more) {
            return std::isalnum(byte) != 0 || more.contains(text);
        };
        EXPECT_EQ(percentEncoded(text, UrlPart::path) == text, isKept("!$&'()*+,-./:;=@_~"))
            << byte;
        EXPECT_EQ(percentEncoded(text, UrlPart::user) == text, isKept("-._~!$&'()*+,;=")) << byte;
    }
    EXPECT_EQ(percentEncoded("a b/%é\n\xFF?#", UrlPart::path), "a%20b/%25%C3%A9%0A%FF%3F%23");
    for (const auto& [text, expected] :
         {Pair{"", ""}, Pair{"a+b", "a+b"}, Pair{"%41%2f%2F%c3%A9", "A//é"},
          Pair{"%00x", std::string("\0x", 2)}, Pair{"%2541", "%41"}})
        EXPECT_EQ(percentDecoded(text), expected) << text;
    for (const char* const wrong : {"%", "a%4", "%4g", "%g4", "%%41", "% 41", "%FF", "%C3", "\xFF"})
        EXPECT_EQ(percentDecoded(wrong), std::nullopt) << wrong;
}

TEST(DecimalInteger, TakesASignAndDigitsWithin64Bits) {
    using Number = std::pair<const char*, std::int64_t>;
    for (const auto& [text, expected] :
         {Number{"0", 0}, Number{"+7", 7}, Number{"-12", -12}, Number{"007", 7},
          Number{"9223372036854775807", INT64_MAX}, Number{"-9223372036854775808", INT64_MIN}})
        EXPECT_EQ(decimalInteger(text), expected) << text;
    for (const char* const wrong : {"", "+", "-", "+-1", "-+1", "--1", " 1", "1 ", "1.5", "0x1",
                                    "1a", "٣", "9223372036854775808", "-9223372036854775809"})
        EXPECT_EQ(decimalInteger(wrong), std::nullopt) << wrong;
}

TEST(LocalAddress, PrefersEn0AndThenTheFirst) {
    using Addresses = std::vector<platform::InterfaceAddress>;
    using Case = std::pair<std::string, Addresses>;
    for (const auto& [expected, addresses] :
         {Case{"10.0.0.5", {{"en1", true, "192.168.1.7"}, {"en0", true, "10.0.0.5"}}},
          Case{"172.16.0.9", {{"eth0", false, "10.1.1.1"}, {"en5", true, "172.16.0.9"}}},
          Case{"192.168.1.7", {{"wlan0", true, "192.168.1.7"}, {"tun0", true, "10.8.0.2"}}},
          Case{"169.254.1.1", {{"en0", false, "10.0.0.5"}, {"en00", true, "169.254.1.1"}}},
          Case{"10.0.0.5", {{"en0", true, "10.0.0.5"}, {"en0", true, "10.0.0.6"}}},
          Case{"none", {{"lo", false, "127.0.0.1"}}}, Case{"none", {}}})
        EXPECT_EQ(chooseLocalAddress(addresses).value_or("none"), expected);
    bool hasLoopback = false;
    for (const auto& entry : platform::ipv4InterfaceAddresses()) {
        EXPECT_FALSE(entry.isUpAndOutward && entry.address.starts_with("127."));
        hasLoopback |= entry.interfaceName == "lo" && entry.address == "127.0.0.1";
    }
    EXPECT_TRUE(hasLoopback);
}

TEST(ServerError, HasOneLineForEachNetworkError) {
    using Case = std::pair<std::error_code, std::string>;
    for (const auto& [error, line] :
         {Case{{EACCES, std::generic_category()}, "Permission denied — try a port above 1024."},
          Case{{EADDRINUSE, std::system_category()}, "That port is already in use."},
          Case{{EADDRNOTAVAIL, std::generic_category()}, "The address is not available."},
          Case{{ECONNREFUSED, std::generic_category()}, "Network error (ECONNREFUSED)."},
          Case{{99999, std::generic_category()}, "Network error (99999)."},
          Case{ServerError::invalidPort, "Invalid port number."}})
        EXPECT_EQ(describeNetworkError(error), line);
    EXPECT_EQ(errorDescription(ServerError::invalidPort), "Invalid port number.");
}

} // namespace quorvel::server
