#pragma once

#include <QDBusAbstractAdaptor>
#include <QVariant>
#include <functional>

namespace quorvel::ui {

/// The interface org.freedesktop.Application, through which desktops activate a program
/// (freedesktop.org, Desktop Entry, D-Bus activation).
class FreedesktopApplication final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

  public:
    using Activated = std::function<void(const QString& activationToken)>;

    FreedesktopApplication(QObject* parent, Activated activated);

  public Q_SLOTS:
    void Activate(const QVariantMap& platformData);
    /// Only activates: a folder is never shared before the user has chosen it here.
    void Open(const QStringList& uris, const QVariantMap& platformData);
    /// Does nothing: the program has no actions.
    void ActivateAction(const QString& action, const QVariantList& parameter,
                        const QVariantMap& platformData);

  private:
    Activated activated_;
};

} // namespace quorvel::ui
