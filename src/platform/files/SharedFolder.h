#pragma once

#include "platform/Descriptor.h"
#include "platform/Result.h"
#include "platform/files/FileVersion.h"
#include "platform/files/FolderEntry.h"
#include "platform/files/OpenFile.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel::platform {

/// Sockets, FIFOs and devices are `special`: they exist but cannot be opened.
enum class ItemKind { file, directory, special };

/// What clients see of an item. Times are whole seconds since 1970 UTC.
struct ItemAttributes {
    ItemKind kind = ItemKind::special;
    std::int64_t size = 0;
    std::int64_t modified = 0;
};

/// An item of the folder, held open: it stays the same item even if it or a parent is renamed or
/// replaced.
struct Item {
    Descriptor descriptor;
    ItemAttributes attributes;
    /// Where a directory was found, relative to the folder: its bytes on disk.
    std::string path;
    Disk disk;
    FileVersion version;
    /// The file itself, if it is one that was looked up for reading.
    Result<std::shared_ptr<const OpenFile>> file = failure(EBADF);
};

/// Why an item is looked up: to read it if it is a file, or only for its attributes.
enum class Purpose { reading, attributes };

/// What `entries` must find out. For most entries the directory alone tells the kind; size and
/// date take a system call for each.
enum class EntryDetail { kind, kindSizeDate };

/// The order of what `entries` returns: none, or as in `orderByName`.
enum class EntryOrder { any, byName };

/// The only way to the shared folder, read-only. Nothing outside it is ever opened: the kernel
/// resolves each path beneath the folder (openat2(2)), so neither "..", links, nor a change on
/// disk at the wrong moment lead out. Links whose text names a place inside work. Thread-safe.
/// Holds no descriptor between calls, so an idle share does not keep a disk busy.
class SharedFolder {
  public:
    explicit SharedFolder(std::string path);

    const std::string& path() const { return path_; }

    /// Finds the item at a path relative to the folder, without a leading slash; "" is the folder
    /// itself. Missing items and items outside the folder fail alike. A component that names
    /// nothing finds the first name on disk, in the order of bytes, whose text it is. May wait for
    /// the disk.
    Result<Item> find(std::string_view relativePath, Purpose purpose = Purpose::attributes) const;

    /// The same as far as the kernel's caches tell it, without ever waiting; none if only `find`
    /// can tell.
    std::optional<Result<Item>> findCached(std::string_view relativePath, Purpose purpose) const;

    /// A number for the disk that `find` may have to wait for. Which one it is cannot be known
    /// without asking it, so each entry of the folder counts as one.
    static std::uint64_t diskOf(std::string_view relativePath);

    /// The file that was found for reading; EINVAL for any other kind.
    static Result<std::shared_ptr<const OpenFile>> open(const Item& item);

    /// The entries of a directory that was found, without hidden ones (a leading dot). Fails if it
    /// cannot be read to its end. May wait for the disk.
    Result<EntryList> entries(const Item& directory, EntryDetail detail,
                              EntryOrder order = EntryOrder::byName) const;

  private:
    std::string path_;
    /// The disk of the folder, as the last `find` saw it. Its number, or 0 if it is not local.
    std::shared_ptr<std::atomic<std::uint64_t>> localDisk_;
};

/// Whether there is a directory at the path, following links. For the folder the user chose, not
/// for paths from clients.
bool isDirectory(const std::string& path);

} // namespace quorvel::platform
