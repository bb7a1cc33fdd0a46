#pragma once

#include <QObject>

namespace quorvel::ui {

/// Gives the application a dark palette while the desktop asks for one through its portal
/// (org.freedesktop.portal.Settings, "color-scheme") and Qt does not follow it by itself: never
/// before 6.5, and since then on some desktops only.
class ColorScheme final : public QObject {
    Q_OBJECT

  public:
    ColorScheme();

  private:
    Q_SLOT void ask();
    void apply(bool dark);

    bool isOurs_ = false;
};

} // namespace quorvel::ui
