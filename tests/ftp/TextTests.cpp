#include "ftp/CommandLine.h"
#include "ftp/DateText.h"
#include "ftp/ListingText.h"
#include "ftp/PassiveReply.h"
#include "ftp/VirtualPath.h"

#include <ctime>
#include <gtest/gtest.h>

namespace quorvel::ftp {

using Triple = std::array<const char*, 3>;

TEST(FTPText, PathsStayBelowTheTopAndLinesSplitAtSpacesOnly) {
    for (const auto& [folder, argument, path] :
         {Triple{"/b", "", "/b"}, Triple{"/x", "a/../b/.//c/", "/x/b/c"},
          Triple{"/a/b", "../../../../etc", "/etc"},
          Triple{"/", " ~/%2e%2e\\.. ", "/ ~/%2e%2e\\.. "}})
        EXPECT_EQ(resolvePath(folder, argument), path) << argument;
    for (const auto& [line, verb, argument] :
         {Triple{"  CWD  two  ", "CWD", " two  "}, Triple{"CWD ", "CWD", ""},
          Triple{"a\tb c", "a\tb", "c"}, Triple{"   ", "", ""}}) {
        EXPECT_EQ(splitCommandLine(line).verb, verb) << line;
        EXPECT_EQ(splitCommandLine(line).argument, argument) << line;
    }
    for (const auto& [argument, path] : std::initializer_list<std::pair<const char*, const char*>>{
             {"-la", ""}, {"-", ""}, {"docs -l", "docs"}, {"  -a   -l  My Doc", "My"}})
        EXPECT_EQ(listPath(argument), path) << argument;
}

TEST(FTPText, PassiveReplies) {
    for (const auto& [port, numbers] : {std::pair{50000, "195,80"}, {256, "1,0"}, {255, "0,255"}})
        EXPECT_EQ(passiveReply("192.168.1.20", static_cast<std::uint16_t>(port)),
                  "227 Entering Passive Mode (192,168,1,20," + std::string(numbers) + ")\r\n");
    for (const auto* const address : {"", "1.2.3", "1.2.3.4.5", "fe80::1", "1..2.3"})
        EXPECT_EQ(passiveReply(address, 1), std::nullopt) << address;
    EXPECT_EQ(extendedPassiveReply(50000), "229 Entering Extended Passive Mode (|||50000|)\r\n");
}

static void useTimeZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

TEST(FTPText, ListingsHaveLocalDatesAndModificationTimesAreUTC) {
    useTimeZone("UTC");
    const std::array<platform::FolderEntry, 3> entries{{{"Photos", true, 4096, 1704463380},
                                                        {"a \uFFFD\"b", false, 1234567890123, -1},
                                                        {"far", false, 0, INT64_MAX}}};
    EXPECT_EQ(listingText(entries, ListForm::lines),
              "drwxr-xr-x 1 owner group            0 Jan 05 14:03 Photos\r\n"
              "-rw-r--r-- 1 owner group 1234567890123 Dec 31 23:59 a \uFFFD\"b\r\n"
              "-rw-r--r-- 1 owner group            0 Jan 01 00:00 far\r\n");
    EXPECT_EQ(listingText(entries, ListForm::names), "Photos\r\na \uFFFD\"b\r\nfar\r\n");
    ListingDateFormatter formatter;
    for (std::int64_t time = 0; time < 400 * 86'400; time += 86'400 * 5 + 3'661) {
        std::array<char, 32> expected{};
        std::tm fields{};
        std::strftime(expected.data(), expected.size(), "%b %d %H:%M", gmtime_r(&time, &fields));
        EXPECT_EQ(formatter.text(time), expected.data());
    }
    useTimeZone("XXX0:44:30"); // Liberia's zone until 1972.
    ListingDateFormatter others;
    EXPECT_EQ(others.text(29), "Dec 31 23:15");
    EXPECT_EQ(others.text(30), "Dec 31 23:16");
    useTimeZone("XXX-14");
    EXPECT_EQ(modificationTimeText(1709647629), "20240305140709");
    EXPECT_EQ(modificationTimeText(-1), "19691231235959");
    EXPECT_EQ(modificationTimeText(-62'135'596'800), "00010101000000");
    EXPECT_EQ(modificationTimeText(INT64_MAX), std::nullopt);
}

} // namespace quorvel::ftp
