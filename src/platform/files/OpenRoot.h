#pragma once

#include "platform/Descriptor.h"
#include "platform/Result.h"

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
