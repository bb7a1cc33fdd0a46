#pragma once

#include "platform/network/WorkQueue.h"

#include <string>

namespace quorvel::platform {

/// How far the running kernel can confine a thread (landlock(7)).
enum class ConfinementLevel {
    none,                   ///< No Landlock, or it is off.
    files,                  ///< Reading below the folder only (Linux 5.13).
    filesAndNetwork,        ///< Besides: no TCP connect, no bind but to port 0 (Linux 6.7).
    filesNetworkAndSignals, ///< Besides: no signals and abstract sockets of others (Linux 6.12).
};

ConfinementLevel supportedConfinement();

/// A setup that takes every right from its thread that serving the folder does not need: what is
/// below the folder can be opened for reading, nothing can be opened elsewhere, and nothing can
/// be written, created or executed anywhere. A second wall behind `SharedFolder`, for the case
/// that its code has a fault. What the kernel does not know stays allowed, and size and date of
/// a file elsewhere always do (stat(2) is beyond Landlock). The folder is the one at the path
/// now: one made anew there later stays out of reach. Throws std::system_error when the process
/// is out of descriptors.
ThreadSetup confinementTo(const std::string& folder);

/// With false `confinementTo` returns an empty setup from now on: a sanitizer's report from a
/// confined thread has no symbols. For tests; the main thread.
void setConfinementEnabled(bool isEnabled);

} // namespace quorvel::platform
