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

/// Sockets, FIFOs and devices are `special`: they exist and cannot be opened.
enum class ItemKind { file, directory, special };

/// What is shown of an item. Times are whole seconds since 1970 UTC.
struct ItemAttributes {
    ItemKind kind = ItemKind::special;
    std::int64_t size = 0;
    std::int64_t modified = 0;
};

/// One item of the folder, found and held. A change of its name or of the path to it no longer
/// matters.
struct Item {
    Descriptor descriptor;
    ItemAttributes attributes;
    /// A file that could be opened for reading on the way; otherwise that is up to `open`.
    bool isReadable = false;
};

/// What an item is looked for: to open it, if it is a file, or to be told of it.
enum class Purpose { reading, attributes };

/// One entry of a directory; the name is the disk's bytes. Entries that link to nothing in the
/// folder keep the defaults: not a directory, size 0, 1970.
struct FolderEntry {
    std::string name;
    bool isDirectory = false;
    std::int64_t size = 0;
    std::int64_t modified = 0;
};

/// What `entries` is to find out: the kind is known from the directory alone for most entries,
/// size and date take a call for each.
enum class EntryDetail { kind, kindSizeDate };

/// The one way to the disk: the shared folder, read-only. Nothing outside is ever opened: the
/// kernel resolves each path beneath the folder (openat2(2)), so neither "..", links, nor a
/// change on disk at the wrong moment lead out. Links that end inside work. Any thread; holds no
/// descriptor between calls, so that an idle share does not keep a disk busy.
class SharedFolder {
  public:
    explicit SharedFolder(std::string path) : path_(std::move(path)) {}

    const std::string& path() const { return path_; }

    /// Finds what the path, relative to the folder and without a leading slash, names; "" is the
    /// folder. Fails alike for what is missing and for what lies outside.
    Result<Item> find(std::string_view relativePath, Purpose purpose = Purpose::attributes) const;

    /// Opens a regular file for reading; EINVAL for any other kind. Never blocks on a FIFO.
    static Result<std::shared_ptr<const OpenFile>> open(Item item);

    /// The entries of the directory that `relativePath` names and `find` returned, in the disk's
    /// order, without hidden ones (a leading dot).
    Result<std::vector<FolderEntry>> entries(const Item& directory, std::string_view relativePath,
                                             EntryDetail detail) const;

  private:
    std::string path_;
};

/// Whether a directory is at the path, following links. For the user's own choice of folder,
/// not for what clients ask.
bool isDirectory(const std::string& path);

} // namespace quorvel::platform
