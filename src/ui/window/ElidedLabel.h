#pragma once

#include <QLabel>

namespace quorvel::ui {

/// One line of plain text in all the width there is; what does not fit is left out of the middle,
/// and shown by the tool tip.
class ElidedLabel final : public QLabel {
  public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    QSize sizeHint() const override { return minimumSizeHint(); }
    QSize minimumSizeHint() const override;

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    QString shownText() const;
};

} // namespace quorvel::ui
