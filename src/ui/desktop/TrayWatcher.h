#pragma once

#include "ui/desktop/X11Desktop.h"

#include <QObject>
#include <QTimer>
#include <chrono>
#include <functional>

namespace quorvel::ui {

/// How the desktop shows tray icons.
enum class TrayKind {
    none,
    statusNotifier, ///< Over D-Bus; the host draws the menu.
    embedded,       ///< An X11 window of this process inside the tray's.
};

/// Watches for a tray. No QSystemTrayIcon may be used before there is one: Qt checks only once per
/// process whether icons go over D-Bus.
class TrayWatcher final : public QObject {
    Q_OBJECT

  public:
    /// Called with the result of `start`, then after every change. A tray that comes back within a
    /// few seconds does not count as a change.
    std::function<void(TrayKind kind)> onChange;

    TrayWatcher();
    /// The result comes within a second; that there is no tray, when the patience has ended too.
    void start(std::chrono::milliseconds patience);

  private Q_SLOTS:
    void look();

  private:
    void watchHosts();
    void found(TrayKind kind);
    void report(TrayKind kind);

    X11Desktop x11_;
    QTimer absence_;
    std::chrono::milliseconds patience_{};
    bool reported_ = false;
    TrayKind kind_ = TrayKind::none;
    /// The first kind found; Qt cannot change to another.
    TrayKind settled_ = TrayKind::none;
};

} // namespace quorvel::ui
