#pragma once

#include <QDBusAbstractAdaptor>
#include <QVariant>
#include <functional>

namespace quorvel::ui {

/// org.freedesktop.Application, as desktops call it to activate a program (freedesktop.org, Desktop
/// Entry, D-Bus activation).
class FreedesktopApplication final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

  public:
    using Activated = std::function<void(const QString& activationToken)>;

    FreedesktopApplication(QObject* parent, Activated activated);

  public Q_SLOTS:
    void Activate(const QVariantMap& platformData);
    /// There is nothing to open: a folder is shared only after it was chosen.
    void Open(const QStringList& uris, const QVariantMap& platformData);
    /// There are no actions.
    void ActivateAction(const QString& action, const QVariantList& parameter,
                        const QVariantMap& platformData);

  private:
    Activated activated_;
};

} // namespace quorvel::ui
