#include "TerminationSignals.h"

#include <csignal>
#include <utility>

namespace quorvel::serve {

namespace {

sigset_t terminationSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

} // namespace

TerminationSignals::TerminationSignals(model::MainQueue& queue, platform::Task action) {
    const sigset_t signals = terminationSignals();
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
    pthread_kill(waiting_.native_handle(), SIGTERM);
    waiting_.join();
}

} // namespace quorvel::serve
