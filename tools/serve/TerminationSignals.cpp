#include "TerminationSignals.h"

#include "platform/Process.h"

#include <csignal>
#include <signal.h>
#include <utility>

namespace quorvel::serve {

TerminationSignals::TerminationSignals(model::MainQueue& queue, platform::Task action) {
    const sigset_t signals = platform::terminationSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    waiting_ = std::thread([signals, &queue, action = std::move(action)]() mutable {
        int received = 0;
        sigwait(&signals, &received);
        queue.post([signals, action = std::move(action)]() mutable {
            pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
            action();
        });
    });
}

TerminationSignals::~TerminationSignals() {
    // Wakes the thread if no signal has. The queue has quit, so what it then posts is not run.
    // NOLINTNEXTLINE(bugprone-bad-signal-to-kill-thread): it is blocked and waited for.
    pthread_kill(waiting_.native_handle(), SIGTERM);
    waiting_.join();
}

} // namespace quorvel::serve
