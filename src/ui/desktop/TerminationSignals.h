#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace quorvel::ui {

/// SIGTERM and SIGINT as events. Must be created before any thread, because threads inherit the set
/// of blocked signals (signalfd(2)).
class TerminationSignals final {
  public:
    TerminationSignals();
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

    /// Calls the action on the first signal; further ones end the process. Releasing the result
    /// cancels this; it must not outlive the QCoreApplication.
    [[nodiscard]] std::unique_ptr<QSocketNotifier> onSignal(std::function<void()> action);

  private:
    int descriptor_;
};

} // namespace quorvel::ui
