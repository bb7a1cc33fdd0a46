#pragma once

#include "platform/Descriptor.h"
#include "platform/files/FileVersion.h"
#include "platform/files/OpenRoot.h"

#include <memory>

namespace quorvel::platform {

/// While one exists, its thread keeps open what the requests of an event loop turn have in common:
/// the folder, and the last file. It must end with the turn: a descriptor held longer would keep a
/// disk from being unmounted.
class TurnHold {
  public:
    TurnHold();
    ~TurnHold();
    TurnHold(const TurnHold&) = delete;
    TurnHold& operator=(const TurnHold&) = delete;

    /// None between turns, and on threads without turns.
    static TurnHold* ofThisThread();

    /// Keeps a file open that nobody uses any more, and closes the one before.
    void keep(Descriptor file, const FileVersion& version);
    /// Gives away the file kept open if it is this one; none otherwise.
    Descriptor take(const FileVersion& version);

    std::shared_ptr<const OpenRoot> root;

  private:
    Descriptor file_;
    FileVersion version_;
};

} // namespace quorvel::platform
