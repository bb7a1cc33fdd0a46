#include "support/SocketClient.h"
#include "support/TemporaryFolder.h"

#include "platform/SharedFolder.h"

#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace quorvel::platform {

namespace {

namespace fs = std::filesystem;
using testing::IsSupersetOf;
using testing::UnorderedElementsAre;

const std::string longName(255, 'n');

void makeSocket(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const Descriptor made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(bind(made.number(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
}

/// A folder "share" with everything in it that a folder can hold, and a neighbour "share2" that
/// nobody may read.
class SharedFolderTest : public testing::Test {
  protected:
    SharedFolderTest() {
        outer_.write("share/a.txt", "content of a");
        outer_.write("share/docs/b.txt", "content of b");
        outer_.write("share/" + longName, "long");
        outer_.write("share/.hidden", "hidden");
        outer_.write("share2/secret", "secret");
        const std::pair<std::string, std::string> links[] = {
            {"in", "a.txt"},
            {"in-absolute", root_ + "/a.txt"},
            {"docs/up", "../a.txt"},
            {"out-and-in", "../share/a.txt"},
            {"root", "."},
            {"folder", "docs"},
            {"folder-absolute", root_ + "/docs"},
            {"chain", "folder/up"},
            {"out", "../share2/secret"},
            {"out-absolute", outer_.path("share2/secret")},
            {"out-folder", "../share2"},
            {"out-folder-absolute", outer_.path("share2")},
            {"docs/out", "../../share2/secret"},
            {"chain-out", "folder/out"},
            {"nothing", "no-such-file"},
            {"loop", "loop"},
            {"zero", "/dev/zero"},
            {"magic", "/proc/self/root" + root_ + "/a.txt"},
            {"parent", ".."},
        };
        for (const auto& [name, target] : links)
            outer_.link("share/" + name, target);
        EXPECT_EQ(mkfifo((root_ + "/fifo").c_str(), 0600), 0);
        makeSocket(root_ + "/socket");
    }

    /// The content of a file, or in brackets what else the path is.
    static std::string look(const SharedFolder& folder, std::string_view path) {
        const auto item = folder.find(path);
        if (!item) return "(missing)";
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
    const auto before = test::openDescriptorCount();
    const std::string deep = [] {
        std::string path;
        for (int i = 0; i < 2100; ++i)
            path += "./";
        return path + "a.txt";
    }();
    const std::pair<std::string, std::string> cases[] = {
        {"", "(directory)"},
        {"a.txt", "content of a"},
        {"docs", "(directory)"},
        {"docs/b.txt", "content of b"},
        {".hidden", "hidden"},
        {longName, "long"},
        {longName + "n", "(missing)"},
        {deep, "(missing)"},
        {"no-such-file", "(missing)"},
        {"a.txt/below", "(missing)"},
        {std::string("a.txt\0", 6), "(missing)"},
        {std::string("a.txt\0.png", 10), "(missing)"},
        {"in", "content of a"},
        {"in-absolute", "content of a"},
        {"docs/up", "content of a"},
        {"out-and-in", "content of a"},
        {"root/root/a.txt", "content of a"},
        {"folder", "(directory)"},
        {"folder/b.txt", "content of b"},
        {"folder-absolute/b.txt", "content of b"},
        {"chain", "content of a"},
        {"out", "(missing)"},
        {"out-absolute", "(missing)"},
        {"out-folder", "(missing)"},
        {"out-folder/secret", "(missing)"},
        {"out-folder-absolute/secret", "(missing)"},
        {"docs/out", "(missing)"},
        {"chain-out", "(missing)"},
        {"nothing", "(missing)"},
        {"loop", "(missing)"},
        {"zero", "(missing)"},
        {"magic", "(missing)"},
        {"parent/share2/secret", "(missing)"},
        {"../share2/secret", "(missing)"},
        {"docs/../../share2/secret", "(missing)"},
        {"/etc/passwd", "(missing)"},
        {"fifo", "(special)"},
        {"socket", "(special)"},
    };
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(look(folder_, path), expected) << path.substr(0, 50);
    EXPECT_EQ(test::openDescriptorCount(), before);
}

TEST_F(SharedFolderTest, FollowsTheRootByItsName) {
    outer_.link("link-to-share", "share");
    const SharedFolder linked(outer_.path("link-to-share"));
    EXPECT_EQ(look(linked, "in-absolute"), "content of a");
    EXPECT_EQ(look(linked, "out"), "(missing)");
    EXPECT_EQ(look(SharedFolder("/"), root_.substr(1) + "/out-absolute"), "secret");

    const auto held = folder_.find("a.txt");
    fs::rename(root_, outer_.path("moved"));
    EXPECT_EQ(look(folder_, "a.txt"), "(missing)");
    outer_.write("share/a.txt", "another a");
    EXPECT_EQ(look(folder_, "a.txt"), "another a");
    const auto file = SharedFolder::open(*held);
    std::string content(12, '\0');
    EXPECT_EQ((*file)->read(0, content), 12U);
    EXPECT_EQ(content, "content of a") << "what was found stays what it was";
}

TEST_F(SharedFolderTest, ListsEntriesWithLinksJudgedByWhereTheyLead) {
    const auto now = time(nullptr);
    const auto lines = [&](std::string_view path, EntryDetail detail) {
        const auto entries = folder_.entries(*folder_.find(path), path, detail);
        std::vector<std::string> result;
        for (const auto& entry : entries.value_or(std::vector<FolderEntry>{})) {
            std::string line = entry.name + (entry.isDirectory ? "/" : "");
            if (detail == EntryDetail::kindSizeDate) {
                if (!entry.isDirectory) line += " " + std::to_string(entry.size);
                if (entry.modified == 0)
                    line += " 1970";
                else
                    EXPECT_LT(std::abs(entry.modified - now), 60) << line;
            }
            result.push_back(line);
        }
        return result;
    };
    EXPECT_THAT(lines("", EntryDetail::kindSizeDate),
                UnorderedElementsAre(
                    "a.txt 12", "docs/", longName + " 4", "in 12", "in-absolute 12",
                    "out-and-in 12", "root/", "folder/", "folder-absolute/", "chain 12", "fifo 0",
                    "socket 0", "out 0 1970", "out-absolute 0 1970", "out-folder 0 1970",
                    "out-folder-absolute 0 1970", "chain-out 0 1970", "nothing 0 1970",
                    "loop 0 1970", "zero 0 1970", "magic 0 1970", "parent 0 1970"));
    EXPECT_THAT(lines("", EntryDetail::kind), IsSupersetOf({"docs/", "root/", "folder/", "parent",
                                                            "folder-absolute/", "out-folder"}));
    EXPECT_THAT(lines("folder", EntryDetail::kind), UnorderedElementsAre("b.txt", "up", "out"));
    EXPECT_FALSE(folder_.entries(*folder_.find("a.txt"), "a.txt", EntryDetail::kind));
}

TEST_F(SharedFolderTest, ReadsByOffsetUpToTheEnd) {
    const auto file = SharedFolder::open(*folder_.find("a.txt"));
    std::string into(5, '-');
    EXPECT_EQ((*file)->read(8, into), 4U);
    EXPECT_EQ(into, "of a-");
    EXPECT_EQ((*file)->read(12, into), 0U);
    EXPECT_EQ((*file)->read(1LL << 40, into), 0U);
}

} // namespace

} // namespace quorvel::platform
