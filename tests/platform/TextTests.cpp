#include "platform/files/NameOrder.h"
#include "platform/text/Text.h"

#include <gtest/gtest.h>
#include <map>
#include <thread>

namespace quorvel::platform {

using Pair = std::pair<std::string_view, std::string_view>;
using Names = std::vector<std::string>;

TEST(Text, IsTrimmedCasedEncodedAndRepaired) {
    struct Group {
        std::string (*function)(std::string_view);
        std::vector<Pair> pairs;
    };
    // Trimming removes only tabs and space separators; case mapping is full and ignores the locale;
    // Base64 is that of RFC 4648.
    for (const auto& [function, pairs] : std::initializer_list<Group>{
             {[](std::string_view text) { return std::string(trimmed(text)); },
              {Pair{"", ""}, Pair{" \t\u00A0 ", ""}, Pair{"  a b\t ", "a b"}, Pair{" \xA0", "\xA0"},
               Pair{"\u00A0\u3000x\u2003\u1680", "x"}, Pair{"\u200Bx\u200B", "\u200Bx\u200B"},
               Pair{"\nx\r\n", "\nx\r\n"}, Pair{" \xFF \xFF ", "\xFF \xFF"}}},
             {upperCased, {{"get", "GET"}, {"Straße", "STRASSE"}, {"ﬀi", "FFI"}, {"éı1", "ÉI1"}}},
             {lowerCased, {{"RANGE", "range"}, {"ÄÉI", "äéi"}}},
             {base64,
              {{"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"\xFB\xFF", "+/8="}}},
             {withInvalidUtf8Replaced,
              {Pair{"é😀\u0080\uFFFF", "é😀\u0080\uFFFF"}, Pair{"a\xFFz", "a\uFFFDz"},
               Pair{"\x80", "\uFFFD"}, Pair{"\xC3", "\uFFFD"}, Pair{"\xC0\x80", "\uFFFD\uFFFD"},
               Pair{"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
               Pair{"\xF4\x90\x80\x80é", "\uFFFD\uFFFD\uFFFD\uFFFDé"}}}})
        for (const auto& [text, expected] : pairs) {
            EXPECT_EQ(function(text), expected) << text;
            EXPECT_EQ(isValidUtf8(text), withInvalidUtf8Replaced(text) == text) << expected;
        }
}

TEST(Text, ComparesCanonically) {
    for (const auto& [left, right] :
         {Pair{"", ""}, Pair{"pass", "pass"}, Pair{"\u212B", "\u00C5"}, Pair{"\u212A", "K"},
          Pair{"q\u0323\u0307", "q\u0307\u0323"}, Pair{"\u0390", "\u03B9\u0308\u0301"}})
        EXPECT_TRUE(canonicallyEqual(left, right)) << left;
    for (const auto& [left, right] : {Pair{"ﬁ", "fi"}, Pair{"a", "A"}, Pair{"é", "e"},
                                      Pair{"pass", "past"}, Pair{"pass", "pass1"}, Pair{"", "a"}})
        EXPECT_FALSE(canonicallyEqual(left, right)) << left;
}

TEST(Text, SortsByTheLocaleOfTheFirstVariableThatIsNotEmpty) {
    using Case = std::array<const char*, 4>;
    // Only Swedish sorts "ö" after "z". Case does not count, not even in the C locale.
    for (const auto& [all, collate, language, expected] :
         {Case{"", "", "", "aBöz"}, Case{"", "", "C.UTF-8", "aBöz"},
          Case{"POSIX", "sv_SE", "sv_SE", "aBöz"}, Case{"", "sv_SE.UTF-8", "de_DE.UTF-8", "aBzö"},
          Case{"", "", "sv_SE", "aBzö"}}) {
        setenv("LC_ALL", all, 1);
        setenv("LC_COLLATE", collate, 1);
        setenv("LANG", language, 1);
        std::map<std::string, std::string> byKey;
        // A thread reads the locale once.
        std::thread([&byKey] {
            for (const auto* const name : {"z", "ö", "B", "a"}) {
                std::string key;
                appendCollationKey(key, name);
                byKey[key] = name;
            }
        }).join();
        std::string sorted;
        for (const auto& [key, name] : byKey)
            sorted += name;
        EXPECT_EQ(sorted, expected);
    }
}

/// Sorts as a process with this language does; in a new thread, as each caches its locale.
static Names sorted(const Names& names, const char* language) {
    unsetenv("LC_ALL");
    unsetenv("LC_COLLATE");
    language == nullptr ? unsetenv("LANG") : setenv("LANG", language, 1);
    std::vector<FolderEntry> entries;
    for (const auto& name : names)
        entries.push_back({name});
    Names result;
    std::thread([&] {
        for (const std::size_t index : orderByName(entries))
            result.push_back(names[index]);
    }).join();
    return result;
}

TEST(Text, OrdersNamesAsAFileManagerDoes) {
    const char* const unset = nullptr;
    for (const char* const language : {"C.UTF-8", "C", "", "en_US.UTF-8", "no_SUCH.locale", unset})
        // Equal names keep their order; spaces and hyphens count.
        for (const auto& [names, expected] : std::initializer_list<std::pair<Names, Names>>{
                 {{"file10", "B", "file2", "a", "C"}, {"a", "B", "C", "file2", "file10"}},
                 {{"a<b>.txt", "Photos & Videos", "photos"},
                  {"a<b>.txt", "photos", "Photos & Videos"}},
                 {{"ab", "a b", "a-b", "Ab", "aB"}, {"a b", "a-b", "ab", "Ab", "aB"}},
                 {{"v20", "v3", "v003", "v2"}, {"v2", "v3", "v003", "v20"}},
                 {{"Zoe", "été", "eta"}, {"eta", "été", "Zoe"}}})
            EXPECT_EQ(sorted(names, language), expected) << (language ? language : "unset");
    EXPECT_EQ(sorted({"z", "ö"}, "sv_SE.UTF-8"), Names({"z", "ö"}));
    EXPECT_EQ(sorted({"z", "ö"}, "de_DE.UTF-8"), Names({"ö", "z"}));
    EXPECT_EQ(sorted({"\xFF", std::string(255, 'x'), ""}, "C").size(), 3U);
}

} // namespace quorvel::platform
