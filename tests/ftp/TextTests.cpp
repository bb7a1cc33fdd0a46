#include "ftp/CommandLine.h"
#include "ftp/ListingLine.h"
#include "ftp/PassiveReply.h"
#include "ftp/VirtualPath.h"

#include <gtest/gtest.h>

namespace quorvel::ftp {

namespace {

using Triple = std::array<const char*, 3>;
using Pair = std::array<const char*, 2>;

TEST(FTPText, PathsStayBelowTheTop) {
    for (const auto& [workingDirectory, argument, path] : std::initializer_list<Triple>{
             {"/", "", "/"},
             {"/b", "", "/b"},
             {"/b", "c", "/b/c"},
             {"/b", "/c", "/c"},
             {"/", "a/../b/./c", "/b/c"},
             {"/x", "a//b/", "/x/a/b"},
             {"/a/b", "../../../../etc", "/etc"},
             {"/", "...", "/..."},
             {"/", " ~/%2e%2e\\.. ", "/ ~/%2e%2e\\.. "},
         })
        EXPECT_EQ(resolvePath(workingDirectory, argument), path) << argument;
    for (const auto& [root, path, location] : std::initializer_list<Triple>{
             {"/srv", "/", "/srv"}, {"/srv", "/a b", "/srv/a b"}, {"/", "/a", "/a"}})
        EXPECT_EQ(urlForVirtualPath(root, path), location);
}

TEST(FTPText, LinesSplitAtSpacesOnly) {
    for (const auto& [line, verb, argument] : std::initializer_list<Triple>{
             {"NOOP", "NOOP", ""},
             {"  CWD  two  ", "CWD", " two  "},
             {"CWD ", "CWD", ""},
             {"a\tb c", "a\tb", "c"},
             {"   ", "", ""},
         }) {
        EXPECT_EQ(splitCommandLine(line).verb, verb) << line;
        EXPECT_EQ(splitCommandLine(line).argument, argument) << line;
    }
    for (const auto& [argument, path] : std::initializer_list<Pair>{
             {"-la", ""}, {"-", ""}, {"docs -l", "docs"}, {"  -a   -l  My Documents", "My"}})
        EXPECT_EQ(listPath(argument), path) << argument;
}

TEST(FTPText, RestartOffsets) {
    for (const auto* const argument :
         {"", "+", "-1", "1.5", "1 ", " 1", "0x1", "+-1", "9223372036854775808"})
        EXPECT_EQ(restartOffset(argument), std::nullopt) << argument;
    EXPECT_EQ(restartOffset("+007"), 7);
    EXPECT_EQ(restartOffset("9223372036854775807"), INT64_MAX);
}

TEST(FTPText, PassiveReplies) {
    EXPECT_EQ(passiveReply("192.168.1.20", 50000),
              "227 Entering Passive Mode (192,168,1,20,195,80)\r\n");
    EXPECT_EQ(passiveReply("1.2.3.4", 256), "227 Entering Passive Mode (1,2,3,4,1,0)\r\n");
    EXPECT_EQ(passiveReply("1.2.3.4", 255), "227 Entering Passive Mode (1,2,3,4,0,255)\r\n");
    for (const auto* const address : {"", "1.2.3", "1.2.3.4.5", "fe80::1", "1..2.3"})
        EXPECT_EQ(passiveReply(address, 1), std::nullopt) << address;
    EXPECT_EQ(extendedPassiveReply(50000), "229 Entering Extended Passive Mode (|||50000|)\r\n");
}

void useTimeZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

TEST(FTPText, ListingLinesHaveLocalDates) {
    useTimeZone("UTC");
    ListingDateFormatter dates;
    std::string lines;
    appendListingLine(lines, {"notes.txt", false, 512, 1709802900}, dates);
    appendListingLine(lines, {"Photos", true, 4096, 1704463380}, dates);
    appendListingLine(lines, {"a \xff\"b", false, 1234567890123, -1}, dates);
    appendListingLine(lines, {"far", false, 0, INT64_MAX}, dates);
    EXPECT_EQ(lines, "-rw-r--r-- 1 owner group          512 Mar 07 09:15 notes.txt\r\n"
                     "drwxr-xr-x 1 owner group            0 Jan 05 14:03 Photos\r\n"
                     "-rw-r--r-- 1 owner group 1234567890123 Dec 31 23:59 a \xff\"b\r\n"
                     "-rw-r--r-- 1 owner group            0 Jan 01 00:00 far\r\n");
    useTimeZone("XXX0:44:30"); // Liberia's zone until 1972.
    ListingDateFormatter others;
    EXPECT_EQ(others.text(29), "Dec 31 23:15");
    EXPECT_EQ(others.text(30), "Dec 31 23:16");
}

TEST(FTPText, ModificationTimesAreUTC) {
    useTimeZone("XXX-14");
    EXPECT_EQ(modificationTimeText(1709647629), "20240305140709");
    EXPECT_EQ(modificationTimeText(-1), "19691231235959");
    EXPECT_EQ(modificationTimeText(INT64_MAX), std::nullopt);
}

} // namespace

} // namespace quorvel::ftp
