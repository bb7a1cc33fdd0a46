#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace quorvel::platform {

/// A directory entry. The name is a text: the bytes on disk, with U+FFFD for what is not UTF-8;
/// somebody else owns it, such as an `EntryList`. Links that do not resolve inside the folder keep
/// the defaults: not a directory, size 0, 1970. The date is in seconds since 1970 UTC.
struct FolderEntry {
    std::string_view name;
    bool isDirectory = false;
    std::int64_t size = 0;
    std::int64_t modified = 0;
};

/// The entries of a directory, and their names. A name costs no memory block of its own, and stays
/// where it is when the list grows or moves.
class EntryList {
  public:
    /// Appends an entry of which only the name is known; the name must be the list's own.
    void add(std::string_view name) { entries_.push_back({name}); }

    /// The list's own copy of the text, null-terminated.
    const char* keep(std::string_view text) {
        auto* const copy = static_cast<char*>(texts_->allocate(text.size() + 1, 1));
        copy[text.copy(copy, text.size())] = '\0';
        return copy;
    }

    /// Gives the entries the order of these indices, each of which must be there once.
    void arrange(std::span<const std::size_t> order) {
        std::vector<FolderEntry> arranged;
        arranged.reserve(order.size());
        for (const std::size_t index : order)
            arranged.push_back(entries_[index]);
        entries_ = std::move(arranged);
    }

    FolderEntry& operator[](std::size_t index) { return entries_[index]; }
    std::size_t size() const { return entries_.size(); }
    const FolderEntry* data() const { return entries_.data(); }
    const FolderEntry* begin() const { return data(); }
    const FolderEntry* end() const { return data() + size(); }

  private:
    std::unique_ptr<std::pmr::monotonic_buffer_resource> texts_ =
        std::make_unique<std::pmr::monotonic_buffer_resource>();
    std::vector<FolderEntry> entries_;
};

} // namespace quorvel::platform
