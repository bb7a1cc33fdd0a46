#pragma once

#include <QLineEdit>
#include <cstdint>
#include <functional>

namespace quorvel::ui {

/// An integer in the digits of the user's locale, without group separators. Any integer is
/// accepted; the model checks the range and reports it. While the text is not a number ("", "-",
/// more than 64 bits), the last number is kept; it is shown again when editing finishes or the
/// field is disabled.
class PortField final : public QLineEdit {
  public:
    explicit PortField(QWidget* parent);

    /// Leaves the text alone if the number is unchanged.
    void setNumber(std::int64_t number);

    /// Called with every number that the user enters, in whatever way.
    std::function<void(std::int64_t number)> onNumber;

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void takeNumber(const QString& text);
    void showNumber();

    std::int64_t number_ = 0;
};

} // namespace quorvel::ui
