#pragma once

#include <QLabel>

namespace quorvel::ui {

/// A line of plain text that takes whatever width its layout gives it. Text that does not fit is
/// elided in the middle and shown in full in the tool tip.
class ElidedLabel final : public QLabel {
  public:
    explicit ElidedLabel(QWidget* parent);

    QSize sizeHint() const override { return minimumSizeHint(); }
    QSize minimumSizeHint() const override;

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    QString shownText() const;
};

} // namespace quorvel::ui
