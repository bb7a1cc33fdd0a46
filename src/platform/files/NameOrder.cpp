#include "platform/files/NameOrder.h"

#include "platform/text/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <endian.h>
#include <string>
#include <string_view>

namespace quorvel::platform {

namespace {

/// An entry's index and the beginning of its collation key as two numbers. They decide most cases
/// without reading the key itself, which is rarely in the cache.
struct Position {
    Position(std::string_view key, std::size_t index_) : index(index_) {
        std::array<std::uint64_t, 2> beginning{};
        key.copy(reinterpret_cast<char*>(beginning.data()), sizeof beginning);
        first = be64toh(beginning[0]);
        second = be64toh(beginning[1]);
    }

    std::uint64_t first;
    std::uint64_t second;
    std::size_t index;
};

/// The collation keys of all names, one after the other.
class Keys {
  public:
    explicit Keys(std::span<const FolderEntry> entries) {
        ends_.reserve(entries.size());
        for (const FolderEntry& entry : entries) {
            appendCollationKey(keys_, entry.name);
            ends_.push_back(keys_.size());
        }
    }

    std::string_view operator[](std::size_t index) const {
        const std::size_t start = index == 0 ? 0 : ends_[index - 1];
        return std::string_view(keys_).substr(start, ends_[index] - start);
    }

  private:
    std::string keys_;
    std::vector<std::size_t> ends_;
};

} // namespace

std::vector<std::size_t> orderByName(std::span<const FolderEntry> entries) {
    // One key per name costs a quarter of the time that comparing names during the sort does.
    const Keys keys(entries);
    std::vector<Position> positions;
    positions.reserve(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i)
        positions.emplace_back(keys[i], i);
    std::ranges::sort(positions, [&keys](const Position& left, const Position& right) {
        if (left.first != right.first) return left.first < right.first;
        if (left.second != right.second) return left.second < right.second;
        if (const int order = keys[left.index].compare(keys[right.index])) return order < 0;
        // Equal keys keep their order: the sort is stable.
        return left.index < right.index;
    });
    std::vector<std::size_t> order;
    order.reserve(positions.size());
    for (const Position& position : positions)
        order.push_back(position.index);
    return order;
}

} // namespace quorvel::platform
