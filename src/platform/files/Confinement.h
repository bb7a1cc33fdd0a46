#pragma once

#include "platform/network/WorkQueue.h"

#include <string>

namespace quorvel::platform {

/// How far the running kernel can confine a thread (landlock(7)).
enum class ConfinementLevel {
    none,                   ///< No Landlock, or it is off.
    files,                  ///< Reading below the folder only (Linux 5.13).
    filesAndNetwork,        ///< Also no TCP connect, and bind to port 0 only (Linux 6.7).
    filesNetworkAndSignals, ///< Also no signals to, nor abstract sockets of, others (Linux 6.12).
};

ConfinementLevel supportedConfinement();

/// A setup that drops every right its thread does not need to serve the folder: what is below the
/// folder can be opened for reading, nothing can be opened elsewhere, and nothing can be written,
/// created or executed anywhere. A second line of defence in case `SharedFolder` has a bug. What
/// the running kernel cannot restrict stays allowed, and so does stat(2) everywhere, which
/// Landlock does not cover. The folder is the one at the path now: one that replaces it later
/// stays out of reach. Throws std::system_error if the process is out of descriptors.
ThreadSetup confinementTo(const std::string& folder);

/// If disabled, `confinementTo` returns an empty setup from now on. For tests, because a
/// sanitizer's report from a confined thread has no symbols. Main thread.
void setConfinementEnabled(bool isEnabled);

} // namespace quorvel::platform
