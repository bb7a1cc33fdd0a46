#pragma once

#include "platform/Descriptor.h"
#include "platform/Result.h"

#include <dirent.h>
#include <memory>
#include <string>

namespace quorvel::platform {

/// A shared folder, open for lookups beneath it.
struct OpenRoot {
    std::string path;
    Descriptor descriptor;
};

/// Opens the folder, or returns it if a `RootHold` keeps it open on this thread.
Result<std::shared_ptr<const OpenRoot>> openRoot(const std::string& path);

/// Opens a path beneath the root with the flags of open(2), none if that fails (errno). A path that
/// leads out fails with EXDEV, and so does any absolute link.
Descriptor openBeneath(const Descriptor& root, const std::string& path, int flags);

/// Holds the item at a path beneath the root without opening it (O_PATH). Absolute links that
/// resolve inside work; what is outside fails with ENOENT, as if it were missing.
Result<Descriptor> holdBeneath(const Descriptor& root, const std::string& path);

using DirectoryStream = std::unique_ptr<DIR, int (*)(DIR*)>;

/// Opens a held directory for readdir(3).
Result<DirectoryStream> openDirectory(const Descriptor& directory);

/// The path through which a held item can be reopened and its own path be read (proc(5)).
std::string procName(const Descriptor& descriptor);

/// While one exists, its thread opens the folder once for all requests of an event loop turn. It
/// must end with the turn: a descriptor held longer would keep a disk from being unmounted.
class RootHold {
  public:
    RootHold();
    ~RootHold();
    RootHold(const RootHold&) = delete;
    RootHold& operator=(const RootHold&) = delete;
};

} // namespace quorvel::platform
