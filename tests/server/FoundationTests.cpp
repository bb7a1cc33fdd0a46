#include "server/LocalAddress.h"
#include "server/ServerError.h"
#include "server/SortByName.h"

#include <cerrno>
#include <cstdlib>
#include <gmock/gmock.h>
#include <thread>

namespace quorvel::server {

namespace {

using Names = std::vector<std::string>;

/// Sorted as a process with this language does; a thread of its own, because each keeps its locale.
Names sorted(const Names& names, const char* language) {
    unsetenv("LC_ALL");
    unsetenv("LC_COLLATE");
    language == nullptr ? unsetenv("LANG") : setenv("LANG", language, 1);
    std::vector<platform::FolderEntry> entries;
    for (const auto& name : names)
        entries.push_back({name});
    std::thread([&] { sortByName(entries); }).join();
    Names result;
    for (auto& entry : entries)
        result.push_back(std::move(entry.name));
    return result;
}

TEST(SortByName, OrdersAsAFileManagerDoes) {
    for (const char* const language :
         {"C.UTF-8", "C", "", "en_US.UTF-8", "no_SUCH.locale", static_cast<const char*>(nullptr)}) {
        SCOPED_TRACE(language == nullptr ? "unset" : language);
        EXPECT_EQ(sorted({"file10", "B", "file2", "a", "C", "file1"}, language),
                  Names({"a", "B", "C", "file1", "file2", "file10"}));
        EXPECT_EQ(sorted({"a<b>.txt", "Photos & Videos", "photos"}, language),
                  Names({"a<b>.txt", "photos", "Photos & Videos"}));
        EXPECT_EQ(sorted({"ab", "a b", "a-b", "Ab", "aB"}, language),
                  Names({"a b", "a-b", "ab", "Ab", "aB"}))
            << "equal names keep their order, spaces and hyphens count";
        EXPECT_EQ(sorted({"v20", "v3", "v003", "v2"}, language),
                  Names({"v2", "v3", "v003", "v20"}));
        EXPECT_EQ(sorted({"Zoe", "été", "eta"}, language), Names({"eta", "été", "Zoe"}));
    }
    EXPECT_EQ(sorted({"z", "ö"}, "sv_SE.UTF-8"), Names({"z", "ö"}));
    EXPECT_EQ(sorted({"z", "ö"}, "de_DE.UTF-8"), Names({"ö", "z"}));
    EXPECT_EQ(sorted({"\xFF", std::string(255, 'x'), ""}, "C").size(), 3U);
}

TEST(LocalAddress, PrefersEn0AndThenTheFirst) {
    struct Case {
        std::vector<platform::InterfaceAddress> addresses;
        std::optional<std::string> expected;
    };
    const Case cases[] = {
        {{{"en1", true, "192.168.1.7"}, {"en0", true, "10.0.0.5"}}, "10.0.0.5"},
        {{{"lo0", false, "127.0.0.1"}, {"eth0", false, "10.1.1.1"}, {"en5", true, "172.16.0.9"}},
         "172.16.0.9"},
        {{{"wlan0", true, "192.168.1.7"}, {"tun0", true, "10.8.0.2"}}, "192.168.1.7"},
        {{{"en0", false, "10.0.0.5"}, {"en00", true, "169.254.1.1"}}, "169.254.1.1"},
        {{{"en0", true, "10.0.0.5"}, {"en0", true, "10.0.0.6"}}, "10.0.0.5"},
        {{{"lo", false, "127.0.0.1"}}, std::nullopt},
        {{}, std::nullopt},
    };
    for (const auto& [addresses, expected] : cases)
        EXPECT_EQ(chooseLocalAddress(addresses), expected);
    for (const auto& entry : platform::ipv4InterfaceAddresses())
        EXPECT_EQ(entry.isUpAndOutward && entry.address.starts_with("127."), false);
}

TEST(ServerError, HasOneLineForEachNetworkError) {
    const auto posix = [](int code) { return std::error_code(code, std::generic_category()); };
    EXPECT_EQ(describeNetworkError(posix(EACCES)), "Permission denied — try a port above 1024.");
    EXPECT_EQ(describeNetworkError(posix(EACCES)).size(), 44U);
    EXPECT_EQ(describeNetworkError({EADDRINUSE, std::system_category()}),
              "That port is already in use.");
    EXPECT_EQ(describeNetworkError(posix(EADDRNOTAVAIL)), "The address is not available.");
    EXPECT_EQ(describeNetworkError(posix(ECONNREFUSED)), "Network error (ECONNREFUSED).");
    EXPECT_EQ(describeNetworkError(ServerError::invalidPort), "Invalid port number.");
    EXPECT_EQ(errorDescription(ServerError::invalidPort), "Invalid port number.");
}

} // namespace

} // namespace quorvel::server
