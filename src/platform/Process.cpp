#include "platform/Process.h"

#include <ctime>
#include <sys/resource.h>

namespace quorvel::platform {

void prepareProcess() {
    std::signal(SIGPIPE, SIG_IGN);
    tzset();
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

sigset_t terminationSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

} // namespace quorvel::platform
