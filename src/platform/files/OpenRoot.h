#pragma once

#include "platform/Descriptor.h"
#include "platform/Result.h"

#include <memory>
#include <string>

namespace quorvel::platform {

/// A shared folder, open for looking below it.
struct OpenRoot {
    std::string path;
    Descriptor descriptor;
};

/// Opens the folder, or returns what this thread holds open of it.
Result<std::shared_ptr<const OpenRoot>> openRoot(const std::string& path);

/// While one lives, its thread opens a folder once for the requests of a whole turn. It ends with
/// the turn: a descriptor held for longer would keep a disk busy that its user wants to take away.
class RootHold {
  public:
    RootHold();
    ~RootHold();
    RootHold(const RootHold&) = delete;
    RootHold& operator=(const RootHold&) = delete;
};

} // namespace quorvel::platform
