#include "support/TemporaryFolder.h"

#include "platform/files/SettingsFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace quorvel::platform {

namespace fs = std::filesystem;
using namespace std::string_literals;
using Data = SettingsFile::Data;

class SettingsFileTest : public testing::Test {
  protected:
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
    EXPECT_FALSE(flagAgain.boolean("missing") || restarted("1").integer("key"));
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

TEST_F(SettingsFileTest, KeepsUnreadableContentAside) {
    for (const std::string bad : {"", "{\"a\":", "[1]", "\"text\"", "{\"a\":\"\xFF\"}"}) {
        folder_.write("config/app/settings.json", bad);
        SettingsFile file(path_);
        EXPECT_EQ(file.string("a"), std::nullopt);
        file.set("a", "new");
        std::ifstream aside(path_ + ".unreadable", std::ios::binary);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(aside), {}), bad);
        EXPECT_EQ(SettingsFile(path_).string("a"), "new");
    }
    folder_.write("config/app/settings.json",
                  R"({"a":1.5,"b":null,"c":{"bytes":[256]},"d":18446744073709551615,)"
                  R"("e":{"bytes":7},"f":{"other":[1]},"g":"kept"})");
    const SettingsFile file(path_);
    for (const std::string key : {"a", "b", "c", "d", "e", "f"})
        EXPECT_FALSE(file.integer(key) || file.boolean(key) || file.string(key) || file.data(key));
    EXPECT_EQ(file.string("g"), "kept");
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
