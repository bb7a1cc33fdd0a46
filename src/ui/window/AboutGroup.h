#pragma once

#include <QGroupBox>

namespace quorvel::ui {

/// The "About" group: the program's name, maker and version.
class AboutGroup final : public QGroupBox {
  public:
    /// An empty version is shown as a dash.
    AboutGroup(const QString& version, QWidget* parent);
};

} // namespace quorvel::ui
