#include "ui/desktop/FreedesktopApplication.h"

#include <utility>

namespace quorvel::ui {

FreedesktopApplication::FreedesktopApplication(QObject* parent, Activated activated)
    : QDBusAbstractAdaptor(parent), activated_(std::move(activated)) {}

void FreedesktopApplication::Activate(const QVariantMap& platformData) {
    activated_(platformData.value("activation-token").toString());
}

void FreedesktopApplication::Open(const QStringList&, const QVariantMap& platformData) {
    Activate(platformData);
}

void FreedesktopApplication::ActivateAction(const QString&, const QVariantList&,
                                            const QVariantMap&) {}

} // namespace quorvel::ui
