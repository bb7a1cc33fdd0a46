#include "support/NothingLeft.h"
#include "support/TemporaryFolder.h"

#include "platform/files/SharedFolder.h"
#include "platform/files/TurnHold.h"

#include <array>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorvel::platform {

using Names = std::vector<std::string>;

const std::string longName(255, 'n');

/// Sees what is opened in a folder, except by O_PATH (inotify(7)).
class OpenWatch {
  public:
    explicit OpenWatch(const std::string& folder) {
        EXPECT_GE(inotify_add_watch(watch_.number(), folder.c_str(), IN_OPEN), 0);
    }
    /// Whether anything was opened since the last call.
    bool seen() const {
        std::array<char, 4096> events;
        return read(watch_.number(), events.data(), events.size()) > 0;
    }

  private:
    const Descriptor watch_{inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
};

/// A folder "share" with every kind of item in it, and beside it "share2", which must stay out of
/// reach.
class SharedFolderTest : public testing::Test {
  protected:
    SharedFolderTest() {
        outer_.write("share/a.txt", "content of a");
        outer_.write("share/docs/b.txt", "content of b");
        outer_.write("share/" + longName, "long");
        outer_.write("share/.hidden", "hidden");
        outer_.makeFolder("share/docs/deep");
        outer_.write("share2/secret", "secret");
        using Link = std::pair<std::string, std::string>;
        for (const auto& [name, target] : {Link{"in", "a.txt"},
                                           Link{"in-absolute", root_ + "/a.txt"},
                                           Link{"root", "."},
                                           Link{"docs/up", "../a.txt"},
                                           Link{"out-and-in", "../share/a.txt"},
                                           Link{"folder", "docs"},
                                           Link{"folder-absolute", root_ + "/docs"},
                                           Link{"chain", "folder/up"},
                                           Link{"down", "docs/deep"},
                                           Link{"up-from-down", root_ + "/down/../b.txt"},
                                           Link{"out", "../share2/secret"},
                                           Link{"out-absolute", outer_.path("share2/secret")},
                                           Link{"out-folder", "../share2"},
                                           Link{"out-folder-absolute", outer_.path("share2")},
                                           Link{"loop", "loop"},
                                           Link{"docs/out", "../../share2/secret"},
                                           Link{"chain-out", "folder/out"},
                                           Link{"nothing", "no-such-file"},
                                           Link{"zero", "/dev/zero"},
                                           Link{"parent", ".."},
                                           Link{"magic", "/proc/self/root" + root_ + "/a.txt"}})
            outer_.link("share/" + name, target);
        EXPECT_EQ(mkfifo((root_ + "/fifo").c_str(), 0600), 0);
    }

    /// The content of the file, or in brackets what else is at the path.
    static std::string look(const SharedFolder& folder, std::string_view path) {
        const auto found = folder.find(path);
        const std::string seen = contentOf(folder.find(path, Purpose::reading));
        EXPECT_EQ(found.has_value(), seen != "(missing)");
        auto cached = folder.findCached(path, Purpose::reading);
        EXPECT_EQ(cached ? contentOf(std::move(*cached)) : seen, seen) << "by the caches";
        return seen;
    }
    static bool isMissing(const std::error_code& error) {
        return error == std::errc::no_such_file_or_directory ||
               error == std::errc::not_a_directory || error == std::errc::filename_too_long ||
               error == std::errc::too_many_symbolic_link_levels;
    }
    static std::string contentOf(Result<Item> item) {
        if (!item) return isMissing(item.error()) ? "(missing)" : item.error().message();
        if (item->attributes.kind == ItemKind::directory) return "(directory)";
        const auto file = SharedFolder::open(*item);
        if (!file) return file.error().value() == EINVAL ? "(special)" : file.error().message();
        std::string content(100, '\0');
        content.resize((*file)->read(0, content).value_or(0));
        return content;
    }

    const test::TemporaryFolder outer_;
    const std::string root_ = outer_.path("share");
    const SharedFolder folder_{root_};
};

TEST_F(SharedFolderTest, FindsWhatIsInsideAndNothingElse) {
    const test::NothingLeft nothingLeft;
    std::string tooLong = "a.txt";
    while (tooLong.size() < 4200)
        tooLong.insert(0, "./");
    using Group = std::pair<std::string, Names>;
    for (const auto& [expected, paths] :
         {Group{"(directory)", {"", "docs", "folder", "root/folder-absolute"}},
          Group{"content of a",
                {"a.txt", "in", "in-absolute", "docs/up", "out-and-in", "chain", "root/root/in"}},
          Group{"content of b",
                {"docs/b.txt", "folder/b.txt", "folder-absolute/b.txt", "up-from-down"}},
          Group{"hidden", {".hidden"}}, Group{"long", {longName}}, Group{"(special)", {"fifo"}},
          Group{
              "(missing)",
              {longName + "n", tooLong, std::string("a.txt\0", 6), std::string("a.txt\0.png", 10)}},
          Group{"(missing)",
                {"no-such-file", "a.txt/below", "nothing", "loop", "zero", "magic", "out",
                 "out-absolute", "out-folder", "out-folder/secret", "docs/out", "chain-out"}},
          Group{"(missing)",
                {"out-folder-absolute/secret", "parent/share2/secret", "../share2/secret",
                 "docs/../../share2/secret", "/etc/passwd"}}})
        for (const auto& path : paths) {
            EXPECT_EQ(look(folder_, path), expected) << path.substr(0, 50);
            // A disk that is stuck must not count as one that a path is looked up on.
            EXPECT_GT(SharedFolder::diskOf(path), UINT64_MAX / 2) << "may be a device's number";
        }
}

TEST_F(SharedFolderTest, FindsANameThatIsNotUtf8ByItsText) {
    const test::NothingLeft nothingLeft;
    outer_.write("share/caf\xE9/na\xEFve", "text");
    outer_.write("share/.\xFF", "hidden");
    outer_.write("share/" + std::string(255, '\xFF'), "long");
    outer_.write("share2/\xFF", "secret");
    for (const std::string name : {"\xF1 same", "\x80 same", "\xF2 same", "\x80 real",
                                   "\uFFFD real", "\xF1 real", "\x80 link"})
        outer_.write("share/" + name, name);
    outer_.link("share/b\xFCro", "caf\xE9");
    outer_.link("share/\xFE", ".");
    outer_.link("share/out\xFF", "../share2");
    outer_.link("share/\uFFFD link", "no-such-file");
    const OpenWatch opens(outer_.path("share2"));
    std::string linked = ".\uFFFD", longText;
    for (int i = 0; i < 40; ++i) // as many links as the kernel follows
        linked.insert(0, "\uFFFD/");
    for (int i = 0; i < 255; ++i)
        longText += "\uFFFD";
    using Group = std::pair<std::string, Names>;
    for (const auto& [expected, paths] :
         {Group{"text", {"caf\uFFFD/na\uFFFDve", "caf\xE9/na\uFFFDve", "b\uFFFDro/na\uFFFDve"}},
          Group{"hidden", {".\uFFFD", linked}}, Group{"long", {longText}},
          Group{"\x80 same", {"\uFFFD same"}}, Group{"\uFFFD real", {"\uFFFD real"}},
          Group{"(missing)",
                {"\uFFFD link", "na\uFFFDve", "none/\uFFFD", "a.txt/\uFFFD", "\uFFFD/" + linked}},
          Group{"(missing)",
                {"out\uFFFD", "out\uFFFD/secret", "out\uFFFD/\uFFFD", "out-folder/\uFFFD",
                 "out-folder-absolute/\uFFFD", "parent/share2/\uFFFD", "../share2/\uFFFD",
                 outer_.path("share2/\uFFFD")}}})
        for (const auto& path : paths)
            EXPECT_EQ(look(folder_, path), expected) << path.substr(0, 50);
    EXPECT_FALSE(opens.seen()) << "nothing outside is read";
}

TEST_F(SharedFolderTest, FollowsTheRootByItsName) {
    outer_.link("link-to-share", "share");
    const SharedFolder linked(outer_.path("link-to-share"));
    EXPECT_EQ(look(linked, "in-absolute"), "content of a");
    EXPECT_EQ(look(linked, "out"), "(missing)");
    EXPECT_EQ(look(SharedFolder("/"), root_.substr(1) + "/out-absolute"), "secret");

    auto held = folder_.find("a.txt", Purpose::reading);
    std::filesystem::rename(root_, outer_.path("moved"));
    EXPECT_EQ(look(folder_, "a.txt"), "(missing)");
    outer_.write("share/a.txt", "another a");
    EXPECT_EQ(look(folder_, "a.txt"), "another a");
    std::string content(5, '-');
    const auto file = SharedFolder::open(*held);
    EXPECT_EQ((*file)->read(8, content), 4U);
    EXPECT_EQ(content, "of a-") << "an item that was found stays the same";
    EXPECT_EQ((*file)->read(1LL << 40, content), 0U);
}

TEST_F(SharedFolderTest, NeverOpensWhatIsNotAFile) {
    const OpenWatch opens(root_);
    EXPECT_EQ(look(folder_, "fifo"), "(special)");
    EXPECT_FALSE(opens.seen()) << "opening a FIFO wakes its writer";
    EXPECT_EQ(look(folder_, "a.txt"), "content of a");
    EXPECT_TRUE(opens.seen());
}

TEST_F(SharedFolderTest, KeepsAFileOpenForATurnOnlyWhileItStaysTheSame) {
    const test::NothingLeft nothingLeft;
    const OpenWatch opens(root_);
    const TurnHold turn;
    EXPECT_EQ(look(folder_, "a.txt"), "content of a");
    EXPECT_TRUE(opens.seen());
    EXPECT_EQ(look(folder_, "in"), "content of a");
    EXPECT_FALSE(opens.seen());
    EXPECT_EQ(chmod((root_ + "/a.txt").c_str(), 0400), 0);
    EXPECT_EQ(look(folder_, "a.txt"), "content of a");
    EXPECT_TRUE(opens.seen()) << "it may not be readable any more";
    outer_.write("share/new", "another a");
    std::filesystem::rename(root_ + "/new", root_ + "/a.txt");
    EXPECT_EQ(look(folder_, "a.txt"), "another a");
    std::filesystem::remove(root_ + "/a.txt");
    EXPECT_EQ(look(folder_, "a.txt"), "(missing)");
}

} // namespace quorvel::platform
