#pragma once

#include "ui/desktop/X11Desktop.h"

#include <QObject>
#include <QTimer>
#include <functional>

namespace quorvel::ui {

/// How the desktop shows tray icons.
enum class TrayKind {
    none,
    statusNotifier, ///< Over D-Bus; the host draws the menu.
    embedded,       ///< An X11 window of ours in the tray's.
};

/// Looks for a tray, and goes on looking. Until one is there no QSystemTrayIcon may be touched:
/// Qt asks only once in a process whether icons go over D-Bus.
class TrayWatcher final : public QObject {
    Q_OBJECT

  public:
    /// Called with what was found within a second of `start`, then after every change. A tray
    /// that comes back soon was never gone.
    std::function<void(TrayKind kind)> onChange;

    explicit TrayWatcher(QObject* parent = nullptr);
    void start();

  private Q_SLOTS:
    void look();

  private:
    void watchHosts();
    void found(TrayKind kind);
    void report(TrayKind kind);

    X11Desktop x11_;
    QTimer absence_;
    bool reported_ = false;
    TrayKind kind_ = TrayKind::none;
    /// The first kind found, which Qt keeps to.
    TrayKind settled_ = TrayKind::none;
};

} // namespace quorvel::ui
