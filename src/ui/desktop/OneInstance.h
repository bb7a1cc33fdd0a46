#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <memory>

class QLocalServer;
class QLockFile;

namespace quorvel::ui {

/// What the desktop hands from the user's click to the window that it leads to.
/// Empty where there is none; to be asked for before Qt takes it out of the environment.
QString givenActivationToken();

/// One program for each user's session: the owner of the D-Bus name, or, without a session bus,
/// of a lock in the runtime folder. Main thread.
class OneInstance final : public QObject {
  public:
    /// Called when the program is started again, or asked for over D-Bus
    /// (org.freedesktop.Application).
    std::function<void(const QString& activationToken)> onActivate;

    OneInstance();
    ~OneInstance() override;

    /// False when another process is the one; it has been asked to come forward.
    bool claim(const QString& activationToken);

  private:
    enum class Outcome { first, second, unknown };
    Outcome claimBusName(const QString& activationToken);
    bool claimLock();
    void listenForOthers();

    std::unique_ptr<QLockFile> lock_;
    QLocalServer* server_ = nullptr;
};

} // namespace quorvel::ui
