#include "support/NothingLeft.h"
#include "support/TemporaryFolder.h"

#include "platform/files/NameOrder.h"
#include "platform/files/SharedFolder.h"

#include <map>

namespace quorvel::platform {

class DirectoryTest : public testing::Test {
  protected:
    Result<EntryList> entries(EntryDetail detail, EntryOrder order) const {
        return share_.entries(*share_.find(""), detail, order);
    }

    const test::TemporaryFolder folder_;
    const SharedFolder share_{folder_.path()};
};

TEST_F(DirectoryTest, IsListedInFullByOneThreadOrTwo) {
    std::map<std::string, int> sizes{{"na\uFFFDve", 5}, {"inside", 5}, {"outside", 0}};
    folder_.write("na\xEFve", "12345");
    folder_.write(".hidden");
    folder_.link("inside", "na\xEFve");
    folder_.link("outside", "/etc/passwd");
    for (const int count : {3, 2000}) {
        while (sizes.size() < static_cast<std::size_t>(count)) {
            const std::string name = "IMG_" + std::to_string(sizes.size());
            folder_.write(name, name);
            sizes[name] = static_cast<int>(name.size());
        }
        const test::NothingLeft nothingLeft;
        const auto found = entries(EntryDetail::kindSizeDate, EntryOrder::any);
        const auto sorted = entries(EntryDetail::kindSizeDate, EntryOrder::byName);
        ASSERT_EQ(sorted->size(), sizes.size());
        const FolderEntry* entry = sorted->begin();
        for (const std::size_t index : orderByName(*found)) {
            EXPECT_EQ(entry->name, found->begin()[index].name);
            EXPECT_EQ(entry->size, sizes.at(std::string(entry->name))) << entry->name;
            EXPECT_EQ(entry->modified == 0, entry->name == "outside") << entry->name;
            ++entry;
        }
    }
}

TEST_F(DirectoryTest, IsReadWhateverFailedBefore) {
    folder_.write("a");
    errno = EIO;
    EXPECT_EQ(entries(EntryDetail::kind, EntryOrder::any)->size(), 1U);
}

} // namespace quorvel::platform
