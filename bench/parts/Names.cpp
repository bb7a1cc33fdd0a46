#include "Names.h"

#include <algorithm>
#include <array>
#include <random>
#include <string>

namespace quorvel::bench {

std::vector<platform::FolderEntry> folderEntries(std::size_t count) {
    constexpr std::array kinds{"IMG_", "Holiday & more ", "report-", "Straße "};
    std::vector<platform::FolderEntry> entries(count);
    for (std::size_t i = 0; i < count; ++i) {
        entries[i].name = kinds[i % kinds.size()] + std::to_string(i) + ".jpg";
        entries[i].isDirectory = i % 20 == 0;
        entries[i].size = static_cast<std::int64_t>(i * 1000);
        entries[i].modified = static_cast<std::int64_t>(1'700'000'000 + i * 7);
    }
    std::ranges::shuffle(entries, std::minstd_rand(1));
    return entries;
}

} // namespace quorvel::bench
