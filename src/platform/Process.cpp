#include "platform/Process.h"

#include <ctime>
#include <malloc.h>
#include <signal.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

namespace quorvel::platform {

namespace {

// Larger blocks, such as the list of a large folder, go back to the system when they are freed. The
// allocator would otherwise raise the limit to the size of the first one.
constexpr int mmapThreshold = 256 << 10;

} // namespace

void prepareProcess() {
    mallopt(M_MMAP_THRESHOLD, mmapThreshold);
    std::signal(SIGPIPE, SIG_IGN);
    tzset();
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

bool hasTerminal() {
    return isatty(STDIN_FILENO) == 1;
}

sigset_t terminationSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

} // namespace quorvel::platform
