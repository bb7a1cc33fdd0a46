#include "Names.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace quorvel::bench {

platform::EntryList folderEntries(std::size_t count) {
    constexpr std::array kinds{"IMG_", "Holiday & more ", "report-", "Straße "};
    platform::EntryList entries;
    for (std::size_t i = 0; i < count; ++i) {
        entries.add(entries.keep(kinds[i % kinds.size()] + std::to_string(i) + ".jpg"));
        entries[i].isDirectory = i % 20 == 0;
        entries[i].size = static_cast<std::int64_t>(i * 1000);
        entries[i].modified = static_cast<std::int64_t>(1'700'000'000 + i * 7);
    }
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::shuffle(order, std::minstd_rand(1));
    entries.arrange(order);
    return entries;
}

} // namespace quorvel::bench
