#pragma once

#include <QGroupBox>

namespace quorvel::ui {

/// "About": what this program is and which version of it.
class AboutGroup final : public QGroupBox {
  public:
    /// An empty version shows as a dash.
    AboutGroup(const QString& version, QWidget* parent);
};

} // namespace quorvel::ui
