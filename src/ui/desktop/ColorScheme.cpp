#include "ui/desktop/ColorScheme.h"

#include <QColor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QPalette>

namespace quorvel::ui {

namespace {

constexpr auto portal = "org.freedesktop.portal.Desktop";
constexpr auto portalPath = "/org/freedesktop/portal/desktop";
constexpr auto settings = "org.freedesktop.portal.Settings";
constexpr auto appearance = "org.freedesktop.appearance";
constexpr auto colorScheme = "color-scheme";
constexpr uint preferDark = 1;

// `Read` wraps the value twice.
bool asksForDark(QVariant value) {
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value.toUInt() == preferDark;
}

QPalette darkPalette() {
    QPalette dark(QColor(50, 50, 50));
    dark.setColor(QPalette::Base, QColor(36, 36, 36));
    dark.setColor(QPalette::AlternateBase, QColor(43, 43, 43));
    dark.setColor(QPalette::ToolTipBase, QColor(36, 36, 36));
    dark.setColor(QPalette::ToolTipText, Qt::white);
    dark.setColor(QPalette::Highlight, QColor(48, 140, 198));
    dark.setColor(QPalette::PlaceholderText, QColor(255, 255, 255, 128));
    return dark;
}

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() <
           palette.color(QPalette::WindowText).lightness();
}

} // namespace

ColorScheme::ColorScheme() {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    bus.connect(portal, portalPath, settings, "SettingChanged", this, SLOT(ask()));
    ask();
}

void ColorScheme::ask() {
    auto call = QDBusMessage::createMethodCall(portal, portalPath, settings, "Read");
    call << appearance << colorScheme;
    auto* answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QVariant> scheme = *answer;
        if (scheme.isValid()) apply(asksForDark(scheme.value()));
    });
}

void ColorScheme::apply(bool dark) {
    if (dark == isOurs_) return;
    // The desktop's theme, or a newer Qt, has made it dark already.
    if (dark && isDark(QGuiApplication::palette())) return;
    isOurs_ = dark;
    QGuiApplication::setPalette(dark ? darkPalette() : QPalette());
}

} // namespace quorvel::ui
