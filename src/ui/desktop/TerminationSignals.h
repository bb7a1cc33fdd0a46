#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace quorvel::ui {

/// SIGTERM and SIGINT as events. To be made before any thread exists, because threads inherit what
/// is blocked (signalfd(2)).
class TerminationSignals final {
  public:
    TerminationSignals();
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

    /// Calls the action on the first signal; after that they end the process. For as long as the
    /// result is kept, which must not outlive the QCoreApplication.
    [[nodiscard]] std::unique_ptr<QSocketNotifier> onSignal(std::function<void()> action);

  private:
    int descriptor_;
};

} // namespace quorvel::ui
