#include "server/DecimalInteger.h"
#include "server/FolderPath.h"
#include "server/PercentEncoding.h"

#include <cctype>
#include <gtest/gtest.h>

namespace quorvel::server {

namespace {

using Pair = std::pair<std::string, std::string>;

TEST(FolderPath, IsCleanedLexically) {
    for (const auto& [path, expected] :
         {Pair{"/", "/"}, Pair{"//", "/"}, Pair{"/a/share/", "/a/share"}, Pair{"/a/..", "/"},
          Pair{"/a//b/./c", "/a/b/c"}, Pair{"/a/b/../c", "/a/c"}, Pair{"/../../a", "/a"},
          Pair{"/a/.../..b/c.", "/a/.../..b/c."}, Pair{"/a/b/../../../../c/..", "/"}})
        EXPECT_EQ(standardizedPath(path), expected) << path;
}

TEST(FolderPath, TellsInsideFromOutside) {
    struct Case {
        const char *root, *path, *relative;
    };
    for (const auto& [root, path, relative] :
         {Case{"/a/share", "/a/share", ""}, Case{"/a/share", "/a/share/b/c", "b/c"},
          Case{"/", "/", ""}, Case{"/", "/a/b", "a/b"}, Case{"/a/share", "/a/share2", nullptr},
          Case{"/a/share", "/a/share2/b", nullptr}, Case{"/a/share", "/a", nullptr},
          Case{"/a/share", "/", nullptr}, Case{"/a/share", "/b/share/c", nullptr}}) {
        EXPECT_EQ(isInside(root, path), relative != nullptr) << path;
        if (relative == nullptr) continue;
        EXPECT_EQ(relativeTo(root, path), relative) << path;
    }
    EXPECT_EQ(lastComponent("/a/b.txt"), "b.txt");
    EXPECT_EQ(lastComponent("/"), "");
}

TEST(PercentEncoding, KeepsWhatTheUrlPartMayHold) {
    std::string all;
    for (int byte = 1; byte < 256; ++byte)
        all += static_cast<char>(byte);
    for (const auto& [part, kept] :
         {std::pair{UrlPart::path, "!$&'()*+,-./:;=@_~"}, {UrlPart::user, "-._~!$&'()*+,;="}}) {
        for (const char c : all) {
            const bool isKept =
                std::isalnum(static_cast<unsigned char>(c)) || std::string_view(kept).contains(c);
            EXPECT_EQ(percentEncoded({&c, 1}, part) == std::string(1, c), isKept) << c;
        }
    }
    EXPECT_EQ(percentEncoded("a b/%é\n\xFF?#", UrlPart::path), "a%20b/%25%C3%A9%0A%FF%3F%23");
}

TEST(PercentEncoding, DecodesAllOrNothing) {
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

} // namespace

} // namespace quorvel::server
