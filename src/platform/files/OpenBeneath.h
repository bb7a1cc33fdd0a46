#pragma once

#include "platform/files/OpenRoot.h"

#include <string>

namespace quorvel::platform {

// The only two calls that open something by a path from outside this layer (openat2(2)). Both
// return none if they fail (errno).

/// Holds a folder anywhere: the one that is shared.
Descriptor openFolder(const std::string& path, Lookup lookup);

/// Opens a path beneath the root with the flags of open(2). A path that leads out, and every
/// absolute link, fails with EXDEV; in caches a mount does, too.
Descriptor openBeneath(const Descriptor& root, const std::string& path, int flags, Lookup lookup);

} // namespace quorvel::platform
