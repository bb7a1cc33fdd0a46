#include "platform/Result.h"
#include "platform/Text.h"

#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>

namespace quorvel::platform {

namespace {

struct Mapping {
    std::string_view text;
    std::string_view expected;
};

TEST(Text, TrimsTabsAndSpaceSeparatorsOnly) {
    for (const auto& [text, expected] : {Mapping{"", ""},
                                         {" \t\u00A0 ", ""},
                                         {"  a b\t ", "a b"},
                                         {"\u00A0\u3000x\u2003\u1680", "x"},
                                         {"\u200Bx\u200B", "\u200Bx\u200B"},
                                         {"\nx\r\n", "\nx\r\n"},
                                         {" \xFF \xFF ", "\xFF \xFF"},
                                         {" \xA0", "\xA0"}})
        EXPECT_EQ(trimmed(text), expected) << text;
}

TEST(Text, MapsCaseInFullAndWithoutALanguage) {
    for (const auto& [text, expected] :
         {Mapping{"get", "GET"}, {"Straße", "STRASSE"}, {"ﬀi", "FFI"}, {"éı1", "ÉI1"}})
        EXPECT_EQ(upperCased(text), expected) << text;
    for (const auto& [text, expected] : {Mapping{"RANGE", "range"}, {"ÄÉI", "äéi"}})
        EXPECT_EQ(lowerCased(text), expected) << text;
}

TEST(Text, ComparesCanonically) {
    struct Case {
        std::string_view left, right;
        bool equal;
    };
    for (const auto& [left, right, equal] : {Case{"pass", "pass", true},
                                             {"é", "e\u0301", true},
                                             {"\u212B", "\u00C5", true},
                                             {"q\u0323\u0307", "q\u0307\u0323", true},
                                             {"ﬁ", "fi", false},
                                             {"a", "A", false},
                                             {"é", "e", false},
                                             {"", "e", false}})
        EXPECT_EQ(canonicallyEqual(left, right), equal) << left << " and " << right;
}

TEST(Text, EncodesBase64AsTheRfcShowsIt) {
    for (const auto& [text, expected] : {Mapping{"", ""},
                                         {"f", "Zg=="},
                                         {"fo", "Zm8="},
                                         {"foo", "Zm9v"},
                                         {"foob", "Zm9vYg=="},
                                         {"\xFB\xFF", "+/8="}})
        EXPECT_EQ(base64(text), expected);
    EXPECT_EQ(base64(std::string(300, 'x')).find_first_of("\r\n"), std::string::npos);
}

TEST(Text, TellsUtf8FromOtherBytes) {
    for (const std::string_view valid : {"", "abc", "é😀", "\u0080\uFFFF", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_TRUE(isValidUtf8(valid)) << valid;
        EXPECT_EQ(withInvalidUtf8Replaced(valid), valid);
    }
    for (const auto& [text, replaced] : {Mapping{"a\xFFz", "a\uFFFDz"},
                                         {"\x80", "\uFFFD"},
                                         {"\xC3", "\uFFFD"},
                                         {"\xC0\x80", "\uFFFD\uFFFD"},
                                         {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
                                         {"\xF4\x90\x80\x80é", "\uFFFD\uFFFD\uFFFD\uFFFDé"}}) {
        EXPECT_FALSE(isValidUtf8(text));
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
