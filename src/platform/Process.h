#pragma once

#include <csignal>

namespace quorvel::platform {

/// To be called first in main(), before any thread exists. Ignores SIGPIPE, so that a client's
/// disconnect is an ordinary error, raises the descriptor limit to the hard limit, reads the time
/// zone while files outside a shared folder are still readable, and has large blocks of memory
/// given back to the system (mallopt(3)).
void prepareProcess();

/// Whether somebody may have started this process by typing its name.
bool hasTerminal();

/// SIGTERM and SIGINT, by which a session or a user ends a program.
sigset_t terminationSignals();

} // namespace quorvel::platform
