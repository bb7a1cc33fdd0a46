#include "ui/desktop/TrayWatcher.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <chrono>
#include <utility>

namespace quorvel::ui {

namespace {

using namespace std::chrono_literals;

constexpr auto watcherName = "org.kde.StatusNotifierWatcher";
constexpr auto watcherPath = "/StatusNotifierWatcher";
constexpr int patience = 1000; // milliseconds

/// A panel that restarts after a crash or an update takes about this long.
constexpr std::chrono::milliseconds toleratedAbsence = 3s;

QDBusPendingCall askForHost() {
    auto call = QDBusMessage::createMethodCall(watcherName, watcherPath,
                                               "org.freedesktop.DBus.Properties", "Get");
    call << watcherName << "IsStatusNotifierHostRegistered";
    call.setAutoStartService(false);
    return QDBusConnection::sessionBus().asyncCall(call, patience);
}

} // namespace

TrayWatcher::TrayWatcher() {
    absence_.setSingleShot(true);
    connect(&absence_, &QTimer::timeout, this, [this] { report(TrayKind::none); });
    x11_.onTrayChange = [this] { look(); };
}

void TrayWatcher::start(std::chrono::milliseconds patience) {
    patience_ = patience;
    if (QDBusConnection::sessionBus().isConnected()) watchHosts();
    look();
}

void TrayWatcher::watchHosts() {
    auto bus = QDBusConnection::sessionBus();
    auto* watcher =
        new QDBusServiceWatcher(watcherName, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &TrayWatcher::look);
    for (const auto* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
        bus.connect(watcherName, watcherPath, watcherName, signal, this, SLOT(look()));
}

void TrayWatcher::look() {
    auto* answer = new QDBusPendingCallWatcher(askForHost(), this);
    const auto evaluate = [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QVariant> host = *answer;
        if (host.isValid() && host.value().toBool()) return found(TrayKind::statusNotifier);
        found(x11_.hasTray() ? TrayKind::embedded : TrayKind::none);
    };
    // Without a bus the call has already failed.
    if (answer->isFinished()) return evaluate();
    connect(answer, &QDBusPendingCallWatcher::finished, this, evaluate);
}

void TrayWatcher::found(TrayKind kind) {
    if (settled_ == TrayKind::none) settled_ = kind;
    if (kind != settled_) kind = TrayKind::none;
    if (kind != TrayKind::none) return report(kind);
    const auto tolerated = reported_ ? toleratedAbsence : patience_;
    if (tolerated == 0ms) return report(kind);
    if (!absence_.isActive()) absence_.start(tolerated);
}

void TrayWatcher::report(TrayKind kind) {
    absence_.stop();
    if (std::exchange(reported_, true) && kind == kind_) return;
    kind_ = kind;
    if (onChange) onChange(kind);
}

} // namespace quorvel::ui
