#include "ui/window/Announcer.h"

#include <QAccessibleWidget>

namespace quorvel::ui {

namespace {

/// For screen readers, a notification.
QAccessibleInterface* interfaceOf(const QString&, QObject* object) {
    auto* announcer = dynamic_cast<Announcer*>(object);
    return announcer ? new QAccessibleWidget(announcer, QAccessible::Notification) : nullptr;
}

} // namespace

Announcer::Announcer(QWidget* parent) : QWidget(parent) {
    QAccessible::installFactory(interfaceOf); // does nothing the second time
    setObjectName("announcer");
    setFixedSize(0, 0);
}

void Announcer::announce(const QString& text) {
    setAccessibleName(text);
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QAccessibleAnnouncementEvent event(this, text);
    event.setPoliteness(QAccessible::AnnouncementPoliteness::Assertive);
#else
    // Qt's bridge to AT-SPI passes on that a notification appears, and no alerts.
    QAccessibleEvent event(this, QAccessible::ObjectShow);
#endif
    QAccessible::updateAccessibility(&event);
}

} // namespace quorvel::ui
