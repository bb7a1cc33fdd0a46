#include "support/TemporaryFolder.h"

#include "platform/files/SettingsFile.h"

#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <sys/resource.h>
#include <sys/stat.h>

namespace quorvel::platform {

namespace fs = std::filesystem;
using namespace std::string_literals;
using Data = SettingsFile::Data;

class SettingsFileTest : public testing::Test {
  protected:
    static std::string contentOf(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static fs::perms mode(const std::string& path) { return fs::status(path).permissions(); }

    const test::TemporaryFolder folder_;
    const std::string path_ = folder_.path("config/app/settings.json");
};

TEST_F(SettingsFileTest, BringsEveryTypeBackAfterARestart) {
    const auto restarted = [this](const SettingsFile::Value& value) {
        SettingsFile(path_).set("key", value);
        return SettingsFile(path_);
    };
    for (const auto& text : {""s, "plain"s, "é😀 \"\\\n"s, "not UTF-8: \xFF\xC3"s, "\0x"s})
        EXPECT_EQ(restarted(text).string("key"), text);
    for (const std::int64_t number : {std::int64_t{8080}, std::int64_t{-1}, INT64_MAX, INT64_MIN})
        EXPECT_EQ(restarted(number).integer("key"), number);
    for (const Data& data : {Data{}, Data{0, 1, 255}})
        EXPECT_EQ(restarted(data).data("key"), data);
    for (const bool flag : {true, false})
        EXPECT_EQ(restarted(flag).boolean("key"), flag);
    const SettingsFile flagAgain(path_);
    EXPECT_FALSE(flagAgain.string("key") || flagAgain.integer("key") || flagAgain.data("key"));
    EXPECT_FALSE(flagAgain.boolean("missing") || restarted("1").boolean("key"));
}

TEST_F(SettingsFileTest, IsReadableByItsOwnerOnlyAndLeavesNothingBeside) {
    const auto before = umask(0);
    SettingsFile file(path_);
    file.set("server.password", "secret");
    file.set("server.password", "new");
    umask(before);
    EXPECT_EQ(mode(path_), fs::perms(0600));
    EXPECT_EQ(mode(folder_.path("config/app")), fs::perms(0700));
    EXPECT_EQ(mode(folder_.path("config")), fs::perms(0700));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path("config/app")), {}), 1);
}

TEST_F(SettingsFileTest, UnderstandsWhatPeopleWriteByHand) {
    folder_.write("config/app/settings.json",
                  R"({"a":8080.0,"b":"8080","c":8080,"d":"80x","e":8080.5,"f":1e300,"g":"",)"
                  R"("h":null,"i":{"bytes":[256]},"j":18446744073709551615,"k":{"bytes":7}})");
    const SettingsFile file(path_);
    for (const std::string key : {"a", "b", "c"})
        EXPECT_EQ(file.integer(key), 8080) << key;
    for (const std::string key : {"d", "e", "f", "g", "h", "i", "j", "k"})
        EXPECT_FALSE(file.integer(key) || file.boolean(key) || file.data(key)) << key;
}

TEST_F(SettingsFileTest, KeepsWhatItDoesNotKnow) {
    const std::string unknown = R"("z":{"deep":[null,1.5,{"x":"y"}]},"bytes":[256],"big":1e300)";
    folder_.write("config/app/settings.json", "{" + unknown + R"(,"a":"old"})");
    SettingsFile(path_).set("a", "new");
    std::string stored = contentOf(path_);
    std::erase_if(stored, [](char character) { return character == ' ' || character == '\n'; });
    EXPECT_EQ(stored, "{" + unknown.substr(0, unknown.size() - 5) + R"(1e+300,"a":"new"})");
}

TEST_F(SettingsFileTest, KeepsAsideWhatItCannotRead) {
    const std::string deep =
        "{\"a\":" + std::string(100'000, '[') + std::string(100'000, ']') + "}";
    const std::string huge = "{\"a\":\"" + std::string(2'000'000, 'x') + "\"}";
    for (const std::string& bad :
         {""s, "{\"a\":"s, "[1]"s, "\"text\""s, "{\"a\":\"\xFF\"}"s, deep, huge}) {
        const test::TemporaryFolder folder;
        const std::string path = folder.write("settings.json", bad);
        folder.write("settings.json.unreadable", "older");
        SettingsFile file(path);
        EXPECT_EQ(file.string("a"), std::nullopt);
        EXPECT_EQ(contentOf(path), bad);
        file.set("a", "new");
        EXPECT_EQ(contentOf(path + ".unreadable.2"), bad);
        EXPECT_EQ(contentOf(path + ".unreadable"), "older");
        EXPECT_EQ(SettingsFile(path).string("a"), "new");
    }
}

TEST_F(SettingsFileTest, NeitherWaitsForNorLosesWhatIsNotAFile) {
    const std::string other = folder_.makeFolder("other");
    using Make = std::function<void(const std::string& path)>;
    for (const auto& [name, make] : std::map<std::string, Make>{
             {"folder", [](auto& path) { fs::create_directory(path); }},
             {"FIFO", [](auto& path) { mkfifo(path.c_str(), 0600); }},
             {"link to a folder", [&](auto& path) { fs::create_symlink(other, path); }},
             {"link to a device", [](auto& path) { fs::create_symlink("/dev/null", path); }},
             {"loop", [](auto& path) { fs::create_symlink("settings.json", path); }}}) {
        const test::TemporaryFolder folder;
        const std::string path = folder.path("settings.json");
        make(path);
        const auto kind = fs::symlink_status(path).type();
        SettingsFile file(path);
        EXPECT_EQ(file.string("a"), std::nullopt) << name;
        file.set("a", "new");
        EXPECT_EQ(SettingsFile(path).string("a"), "new") << name;
        EXPECT_EQ(fs::symlink_status(path + ".unreadable").type(), kind) << name;
    }
    EXPECT_TRUE(fs::is_character_file("/dev/null") && fs::is_directory(other));
}

TEST_F(SettingsFileTest, StoresWhereALinkPoints) {
    const std::string elsewhere = folder_.path("elsewhere/mine.json");
    folder_.link("config/app/settings.json", "../../link");
    folder_.link("link", elsewhere);
    SettingsFile(path_).set("a", "lost"); // nothing is made at the end of a link
    EXPECT_FALSE(fs::exists(folder_.path("elsewhere")));
    folder_.makeFolder("elsewhere");
    SettingsFile(path_).set("a", "new");
    EXPECT_TRUE(fs::is_symlink(path_) && fs::is_symlink(folder_.path("link")));
    EXPECT_EQ(SettingsFile(elsewhere).string("a"), "new");
    folder_.write("elsewhere/mine.json", "not JSON");
    SettingsFile(path_).set("a", "newer");
    EXPECT_TRUE(fs::is_symlink(path_));
    EXPECT_EQ(contentOf(elsewhere + ".unreadable"), "not JSON");
    EXPECT_EQ(SettingsFile(path_).string("a"), "newer");
}

TEST_F(SettingsFileTest, LosesNothingWhenAWriteFails) {
    SettingsFile file(path_);
    file.set("a", "old");
    const std::string before = contentOf(path_);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit none{10, limit.rlim_max};
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &none); // as a full disk
    file.set("a", std::string(1000, 'n'));
    setrlimit(RLIMIT_FSIZE, &limit);
    signal(SIGXFSZ, handler);
    EXPECT_EQ(contentOf(path_), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path("config/app")), {}), 1);
    file.set("b", "next");
    EXPECT_EQ(SettingsFile(path_).string("a"), std::string(1000, 'n'));
}

TEST_F(SettingsFileTest, WritesOnlyAChangeOrWhatCouldNotBeWrittenBefore) {
    folder_.write("config", "a file where the folder should be");
    SettingsFile file(path_);
    file.set("a", "value");
    EXPECT_EQ(file.string("a"), "value");
    fs::remove(folder_.path("config"));
    file.set("a", "value");
    EXPECT_EQ(SettingsFile(path_).string("a"), "value");
    fs::remove(path_);
    file.set("a", "value");
    EXPECT_FALSE(fs::exists(path_));
}

TEST_F(SettingsFileTest, IsInTheUsersConfigurationFolder) {
    using Pair = std::pair<std::string, std::string>;
    setenv("HOME", folder_.path("me").c_str(), 1);
    for (const auto& [variable, folder] :
         {Pair{folder_.path("else"), "else"}, Pair{"", "me/.config"}, Pair{"a/b", "me/.config"}}) {
        setenv("XDG_CONFIG_HOME", variable.c_str(), 1);
        SettingsFile().set("a", variable);
        const SettingsFile file(folder_.path(folder + "/quorvel-server/settings.json"));
        EXPECT_EQ(file.string("a"), variable);
    }
}

} // namespace quorvel::platform
