#include "ui/desktop/TerminationSignals.h"

#include "platform/Process.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>
#include <utility>

namespace quorvel::ui {

TerminationSignals::TerminationSignals() {
    const sigset_t signals = platform::terminationSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    descriptor_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

TerminationSignals::~TerminationSignals() {
    ::close(descriptor_);
}

std::unique_ptr<QSocketNotifier> TerminationSignals::onSignal(std::function<void()> action) {
    auto notifier = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                     [descriptor = descriptor_, action = std::move(action)] {
                         signalfd_siginfo signal;
                         if (::read(descriptor, &signal, sizeof signal) < 0) return;
                         const sigset_t signals = platform::terminationSignals();
                         pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
                         action();
                     });
    return notifier;
}

} // namespace quorvel::ui
