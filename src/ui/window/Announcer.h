#pragma once

#include <QWidget>

namespace quorvel::ui {

/// Has screen readers say a text at once, whatever has the focus. Shows nothing.
class Announcer final : public QWidget {
  public:
    explicit Announcer(QWidget* parent);
    void announce(const QString& text);
};

} // namespace quorvel::ui
