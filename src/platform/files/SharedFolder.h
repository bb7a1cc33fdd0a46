#pragma once

#include "platform/Descriptor.h"
#include "platform/Result.h"
#include "platform/files/OpenFile.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

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
    /// Whether `find` has already opened the file for reading; otherwise `open` does.
    bool isReadable = false;
};

/// Why an item is looked up: to read it if it is a file, or only for its attributes.
enum class Purpose { reading, attributes };

/// A directory entry. The name is a text: the bytes on disk, with U+FFFD for what is not UTF-8.
/// Links that do not resolve inside the folder keep the defaults: not a directory, size 0, 1970.
struct FolderEntry {
    std::string name;
    bool isDirectory = false;
    std::int64_t size = 0;
    std::int64_t modified = 0;
};

/// What `entries` must find out. For most entries the directory alone tells the kind; size and
/// date take a system call for each.
enum class EntryDetail { kind, kindSizeDate };

/// The only way to the shared folder, read-only. Nothing outside it is ever opened: the kernel
/// resolves each path beneath the folder (openat2(2)), so neither "..", links, nor a change on
/// disk at the wrong moment lead out. Links that resolve inside work. Thread-safe. Holds no
/// descriptor between calls, so an idle share does not keep a disk busy.
class SharedFolder {
  public:
    explicit SharedFolder(std::string path) : path_(std::move(path)) {}

    const std::string& path() const { return path_; }

    /// Finds the item at a path relative to the folder, without a leading slash; "" is the folder
    /// itself. Missing items and items outside the folder fail alike. A component that names
    /// nothing finds the first name on disk, in the order of bytes, whose text it is.
    Result<Item> find(std::string_view relativePath, Purpose purpose = Purpose::attributes) const;

    /// Opens a regular file for reading; EINVAL for any other kind. Never blocks on a FIFO.
    static Result<std::shared_ptr<const OpenFile>> open(Item item);

    /// The entries of a directory that `find` returned, in the order on disk, without hidden ones
    /// (a leading dot).
    Result<std::vector<FolderEntry>> entries(const Item& directory, EntryDetail detail) const;

  private:
    std::string path_;
};

/// Whether there is a directory at the path, following links. For the folder the user chose, not
/// for paths from clients.
bool isDirectory(const std::string& path);

} // namespace quorvel::platform
