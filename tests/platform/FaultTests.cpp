#include "support/TemporaryFolder.h"

#include "platform/ConnectionPair.h"
#include "platform/FaultyKernel.h"
#include "platform/files/Confinement.h"
#include "platform/files/SharedFolder.h"

#include <cerrno>

namespace quorvel::platform {

using test::Faults;
using test::FaultyKernel;

/// Runs it where the faults are.
static auto elsewhere(auto work) {
    return std::async(std::launch::async, std::move(work)).get();
}

/// A folder with an entry of each kind, and how it is read.
class FaultyDisk : public testing::Test {
  protected:
    FaultyDisk() {
        folder_.write("docs/\xE9.txt", "content");
        folder_.write("docs/other");
        folder_.link("docs/link", "other");
        folder_.link("absolute", folder_.path("docs"));
    }

    std::string content() const {
        auto item = share_.find("absolute/\uFFFD.txt", Purpose::reading);
        if (!item) return item.error().message();
        const auto file = SharedFolder::open(*item);
        if (!file) return file.error().message();
        std::string content(7, '-');
        const auto count = (*file)->read(0, content);
        return count ? content : count.error().message();
    }

    std::string names(EntryOrder order) const {
        const auto folder = share_.find("absolute");
        if (!folder) return folder.error().message();
        const auto entries = share_.entries(*folder, EntryDetail::kindSizeDate, order);
        if (!entries) return entries.error().message();
        std::size_t length = 0;
        for (const FolderEntry& entry : *entries)
            length += entry.name.size();
        return std::to_string(entries->size()) + " names of " + std::to_string(length);
    }

    const test::TemporaryFolder folder_;
    const SharedFolder share_{folder_.path()};
};

TEST_F(FaultyDisk, GivesAllOrSaysWhyNotWhicheverCallFails) {
    const test::NothingLeft nothingLeft;
    for (const int code : {EIO, EMFILE, ENOMEM, ESTALE, EACCES}) {
        const std::string why = std::generic_category().message(code);
        const auto expectEither = [&](const std::string& whole, auto read) {
            bool hasFailed = true;
            for (int call = 0; hasFailed; ++call) {
                const FaultyKernel faulty({.failingCall = call, .code = code});
                const std::string seen = elsewhere(read);
                hasFailed = faulty.hasFailed();
                EXPECT_TRUE(seen == whole || (hasFailed && seen == why))
                    << seen << " at call " << call << " with " << why;
            }
        };
        expectEither("content", [this] { return content(); });
        for (const auto order : {EntryOrder::any, EntryOrder::byName})
            expectEither("3 names of 16", [&] { return names(order); });
    }
}

TEST_F(FaultyDisk, IsReadOnAfterAnInterruptionOrAShortAnswer) {
    for (const std::size_t bytes : {1U, 3U, 7U}) {
        const FaultyKernel faulty({.bytesPerCall = bytes});
        EXPECT_EQ(elsewhere([this] { return content(); }), "content");
    }
    const FaultyKernel faulty({.failingCall = 0, .code = EINTR});
    EXPECT_EQ(elsewhere([this] { return content(); }), "content");
    EXPECT_TRUE(faulty.hasFailed());
}

TEST(OlderKernel, IsAskedForTheRightsThatItKnows) {
    struct Case {
        int version;
        std::uint64_t rights;
        std::size_t size;
        ConfinementLevel level;
    };
    using enum ConfinementLevel;
    // Their numbers (include/uapi/linux/landlock.h): 13 in the first version, then rename (13),
    // truncate (14) and ioctl (15).
    for (const auto& [version, rights, size, level] :
         {Case{1, 0x1FFF, 8, files}, Case{2, 0x3FFF, 8, files}, Case{3, 0x7FFF, 8, files},
          Case{4, 0x7FFF, 16, filesAndNetwork}, Case{5, 0xFFFF, 16, filesAndNetwork},
          Case{6, 0xFFFF, 24, filesNetworkAndSignals},
          Case{7, 0xFFFF, 24, filesNetworkAndSignals}}) {
        const test::NothingLeft nothingLeft;
        FaultyKernel kernel({.landlockVersion = version});
        EXPECT_TRUE(elsewhere([] { return confinementTo("/tmp") != nullptr; }));
        EXPECT_EQ(elsewhere(supportedConfinement), level);
        EXPECT_EQ(kernel.fileRights, rights) << version;
        EXPECT_EQ(kernel.attributesSize, size) << version;
    }
    const FaultyKernel without({.failingCall = 0, .code = ENOSYS});
    EXPECT_FALSE(elsewhere([] { return confinementTo("/tmp") != nullptr; }));
}

TEST(OlderKernel, StartsNoServerWithoutItsWallForLackOfDescriptors) {
    for (const int code : {EMFILE, ENFILE, ENOMEM}) {
        const FaultyKernel exhausted({.failingCall = 1, .code = code, .landlockVersion = 6});
        EXPECT_THROW(elsewhere([] { return confinementTo("/tmp") != nullptr; }), std::system_error);
    }
    const FaultyKernel unwilling({.failingCall = 1, .code = EPERM, .landlockVersion = 6});
    EXPECT_FALSE(elsewhere([] { return confinementTo("/tmp") != nullptr; }));
}

} // namespace quorvel::platform
