#pragma once

#include <QLabel>
#include <QPlainTextEdit>

namespace quorvel::ui {

/// The text of the "Info" group: five whole lines in a fixed-pitch font, each kept on one line, to
/// be read, selected and copied. An error has the desktop's sign for it beside it.
class InfoText final : public QPlainTextEdit {
  public:
    explicit InfoText(QWidget* parent);

    /// Leaves a selection alone if nothing has changed.
    void show(const QString& text, bool isError);

  protected:
    void changeEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void scrollContentsBy(int right, int down) override;

  private:
    void followFont();
    void fitHeight();

    QLabel* errorSign_;
};

} // namespace quorvel::ui
