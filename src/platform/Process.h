#pragma once

namespace quorvel::platform {

/// To be called first in main(), before any thread exists: a client's disconnect becomes an
/// ordinary error (SIGPIPE ignored), the descriptor limit is raised as far as the user may, and
/// the time zone is read while files outside a shared folder are still readable.
void prepareProcess();

} // namespace quorvel::platform
