#include "Fuzz.h"
#include "support/TemporaryFolder.h"

#include "platform/SettingsFile.h"

#include <filesystem>

using namespace quorvel;

void test::fuzz(std::string_view input) {
    static const test::TemporaryFolder folder;
    const std::string content(input);
    const std::string path = folder.write("settings.json", content);
    platform::SettingsFile settings(path);
    const bool keptAside = std::filesystem::exists(path + ".unreadable");
    const auto port = settings.integer("server.port");
    const auto user = settings.string("server.username");
    const auto bookmark = settings.data("server.folderBookmark");
    FUZZ_EXPECT(!keptAside || (!port && !user && !bookmark));
    std::filesystem::remove(path + ".unreadable");

    // One set writes everything that was understood, and it reads the same again.
    FUZZ_EXPECT(settings.set("added", content));
    const platform::SettingsFile again(path);
    FUZZ_EXPECT(again.string("added") == content);
    FUZZ_EXPECT(again.integer("server.port") == port);
    FUZZ_EXPECT(again.string("server.username") == user);
    FUZZ_EXPECT(again.data("server.folderBookmark") == bookmark);
}
