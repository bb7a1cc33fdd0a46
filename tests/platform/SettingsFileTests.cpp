#include "support/TemporaryFolder.h"

#include "platform/SettingsFile.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <sys/stat.h>

namespace quorvel::platform {

namespace {

namespace fs = std::filesystem;

class SettingsFileTest : public testing::Test {
  protected:
    std::string content(const std::string& path) const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static unsigned mode(const std::string& path) {
        struct stat status {};
        EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777;
    }

    const test::TemporaryFolder folder_;
    const std::string path_ = folder_.path("config/app/settings.json");
};

TEST_F(SettingsFileTest, BringsEveryTypeBackAfterARestart) {
    using Data = SettingsFile::Data;
    constexpr auto largest = std::numeric_limits<std::int64_t>::max();
    const std::vector<std::string> texts{"", "plain", "é😀 \"\\\n", "not UTF-8: \xFF\xC3",
                                         std::string("\0x", 2)};
    const std::vector<std::int64_t> numbers{0, -1, 8080, largest, -largest - 1};
    const std::vector<Data> blobs{{}, {0}, {1, 0, 255}};
    {
        SettingsFile file(path_);
        for (std::size_t i = 0; i < texts.size(); ++i)
            EXPECT_TRUE(file.set("text" + std::to_string(i), texts[i]));
        for (std::size_t i = 0; i < numbers.size(); ++i)
            EXPECT_TRUE(file.set("number" + std::to_string(i), numbers[i]));
        for (std::size_t i = 0; i < blobs.size(); ++i)
            EXPECT_TRUE(file.set("blob" + std::to_string(i), blobs[i]));
        EXPECT_TRUE(file.set("flag", true));
        EXPECT_TRUE(file.set("flag", false));
    }
    const SettingsFile file(path_);
    for (std::size_t i = 0; i < texts.size(); ++i)
        EXPECT_EQ(file.string("text" + std::to_string(i)), texts[i]);
    for (std::size_t i = 0; i < numbers.size(); ++i)
        EXPECT_EQ(file.integer("number" + std::to_string(i)), numbers[i]);
    for (std::size_t i = 0; i < blobs.size(); ++i)
        EXPECT_EQ(file.data("blob" + std::to_string(i)), blobs[i]);
    EXPECT_EQ(file.boolean("flag"), false);
    EXPECT_EQ(file.integer("flag"), std::nullopt);
    EXPECT_EQ(file.boolean("number0"), std::nullopt);
    EXPECT_EQ(file.string("number0"), std::nullopt);
    EXPECT_EQ(file.string("missing"), std::nullopt);
}

TEST_F(SettingsFileTest, IsReadableByItsOwnerOnlyAndLeavesNothingBeside) {
    const auto before = umask(0);
    SettingsFile file(path_);
    EXPECT_TRUE(file.set("server.password", "secret"));
    EXPECT_TRUE(file.set("server.password", "secret 2"));
    umask(before);
    EXPECT_EQ(mode(path_), 0600U);
    EXPECT_EQ(mode(folder_.path("config/app")), 0700U);
    EXPECT_EQ(mode(folder_.path("config")), 0700U);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path("config/app")), {}), 1);
}

TEST_F(SettingsFileTest, KeepsUnreadableContentAside) {
    for (const std::string bad : {"", "{\"a\":", "[1]", "\"text\"", "{\"a\":\"\xFF\"}"}) {
        folder_.write("config/app/settings.json", bad);
        SettingsFile file(path_);
        EXPECT_EQ(file.string("a"), std::nullopt);
        EXPECT_TRUE(file.set("a", "new"));
        EXPECT_EQ(content(path_ + ".unreadable"), bad);
        EXPECT_EQ(SettingsFile(path_).string("a"), "new");
    }
}

TEST_F(SettingsFileTest, PassesOverMembersItDoesNotKnow) {
    folder_.write("config/app/settings.json",
                  R"({"a":1.5,"b":null,"c":{"bytes":[256]},"d":18446744073709551615,)"
                  R"("e":{"bytes":7},"f":{"other":[1]},"g":"kept"})");
    const SettingsFile file(path_);
    for (const std::string key : {"a", "b", "c", "d", "e", "f"})
        EXPECT_FALSE(file.integer(key) || file.boolean(key) || file.string(key) || file.data(key))
            << key;
    EXPECT_EQ(file.string("g"), "kept");
}

TEST_F(SettingsFileTest, SaysEachTimeThatItCouldNotWrite) {
    folder_.write("config", "a file where the folder should be");
    SettingsFile file(path_);
    EXPECT_FALSE(file.set("a", "value"));
    EXPECT_FALSE(file.set("a", "value")) << "the value is not on disk yet";
    EXPECT_EQ(file.string("a"), "value");
    fs::remove(folder_.path("config"));
    EXPECT_TRUE(file.set("a", "value"));
    EXPECT_EQ(SettingsFile(path_).string("a"), "value");
}

TEST(SettingsFile, StandsInTheUsersConfigurationFolder) {
    setenv("HOME", "/home/someone", 1);
    setenv("XDG_CONFIG_HOME", "/elsewhere", 1);
    EXPECT_EQ(SettingsFile::defaultPath(), "/elsewhere/quorvel-server/settings.json");
    for (const char* const ignored : {"", "relative/path"}) {
        setenv("XDG_CONFIG_HOME", ignored, 1);
        EXPECT_EQ(SettingsFile::defaultPath(),
                  "/home/someone/.config/quorvel-server/settings.json");
    }
}

} // namespace

} // namespace quorvel::platform
