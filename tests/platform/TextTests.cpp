#include "platform/Result.h"
#include "platform/Text.h"

#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>

namespace quorvel::platform {

namespace {

using Pair = std::pair<std::string_view, std::string_view>;

TEST(Text, TrimsTabsAndSpaceSeparatorsOnly) {
    for (const auto& [text, expected] :
         {Pair{"", ""}, Pair{" \t\u00A0 ", ""}, Pair{"  a b\t ", "a b"}, Pair{" \xA0", "\xA0"},
          Pair{"\u00A0\u3000x\u2003\u1680", "x"}, Pair{"\u200Bx\u200B", "\u200Bx\u200B"},
          Pair{"\nx\r\n", "\nx\r\n"}, Pair{" \xFF \xFF ", "\xFF \xFF"}})
        EXPECT_EQ(trimmed(text), expected) << text;
}

TEST(Text, MapsCaseInFullAndWithoutALanguage) {
    for (const auto& [text, expected] :
         {Pair{"get", "GET"}, Pair{"Straße", "STRASSE"}, Pair{"ﬀi", "FFI"}, Pair{"éı1", "ÉI1"}})
        EXPECT_EQ(upperCased(text), expected) << text;
    for (const auto& [text, expected] : {Pair{"RANGE", "range"}, Pair{"ÄÉI", "äéi"}})
        EXPECT_EQ(lowerCased(text), expected) << text;
}

TEST(Text, ComparesCanonically) {
    for (const auto& [left, right] :
         {Pair{"pass", "pass"}, Pair{"é", "e\u0301"}, Pair{"\u212B", "\u00C5"},
          Pair{"q\u0323\u0307", "q\u0307\u0323"}})
        EXPECT_TRUE(canonicallyEqual(left, right)) << left;
    for (const auto& [left, right] :
         {Pair{"ﬁ", "fi"}, Pair{"a", "A"}, Pair{"é", "e"}, Pair{"", "e"}})
        EXPECT_FALSE(canonicallyEqual(left, right)) << left;
}

TEST(Text, EncodesBase64AsTheRfcShowsIt) {
    for (const auto& [text, expected] :
         {Pair{"", ""}, Pair{"f", "Zg=="}, Pair{"fo", "Zm8="}, Pair{"foo", "Zm9v"},
          Pair{"foob", "Zm9vYg=="}, Pair{"\xFB\xFF", "+/8="}})
        EXPECT_EQ(base64(text), expected);
    EXPECT_EQ(base64(std::string(300, 'x')).find_first_of("\r\n"), std::string::npos);
}

TEST(Text, TellsUtf8FromOtherBytes) {
    for (const auto& [text, replaced] :
         {Pair{"", ""}, Pair{"é😀\u0080\uFFFF", "é😀\u0080\uFFFF"}, Pair{"a\xFFz", "a\uFFFDz"},
          Pair{"\x80", "\uFFFD"}, Pair{"\xC3", "\uFFFD"}, Pair{"\xC0\x80", "\uFFFD\uFFFD"},
          Pair{"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
          Pair{"\xF4\x90\x80\x80é", "\uFFFD\uFFFD\uFFFD\uFFFDé"}}) {
        EXPECT_EQ(isValidUtf8(text), text == replaced) << replaced;
        EXPECT_EQ(withInvalidUtf8Replaced(text), replaced);
    }
}

TEST(Text, TakesTheLocaleOfTheFirstVariableThatSaysSomething) {
    struct Case {
        const char *all, *collate, *language, *expected;
    };
    for (const auto& [all, collate, language, expected] :
         {Case{"", "", "", ""}, Case{"", "", "C.UTF-8", ""}, Case{"POSIX", "de_DE", "sv_SE", ""},
          Case{"", "sv_SE.UTF-8", "de_DE.UTF-8", "sv_SE"}, Case{"", "", "de_DE", "de_DE"}}) {
        setenv("LC_ALL", all, 1);
        setenv("LC_COLLATE", collate, 1);
        setenv("LANG", language, 1);
        EXPECT_EQ(collationLocale(), expected);
    }
}

TEST(Result, NamesPosixErrors) {
    EXPECT_EQ(posixErrorName(ECONNREFUSED), "ECONNREFUSED");
    EXPECT_EQ(posixErrorName(99999), "99999");
}

} // namespace

} // namespace quorvel::platform
