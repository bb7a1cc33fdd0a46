#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <memory>

class QLocalServer;
class QLockFile;

namespace quorvel::ui {

/// The token that lets the window take the focus because the user started the program; empty if
/// there is none. Must be called before Qt removes it from the environment.
QString givenActivationToken();

/// Keeps to one running program per session: the owner of a lock file in the runtime folder,
/// because a session bus may be missing or die, and of the D-Bus name, by which desktops activate
/// it. Main thread only.
class OneInstance final : public QObject {
  public:
    /// Called when the program is started again or activated over D-Bus
    /// (org.freedesktop.Application).
    std::function<void(const QString& activationToken)> onActivate;

    OneInstance();
    ~OneInstance() override;

    /// Returns false if another process is already running, which has then been activated.
    bool claim(const QString& activationToken);

  private:
    /// Each is false if another process has it, and true as well where it is not to be had.
    bool claimLock();
    bool claimBusName(const QString& activationToken);
    void listenForOthers();

    std::unique_ptr<QLockFile> lock_;
    QLocalServer* server_ = nullptr;
};

} // namespace quorvel::ui
