#pragma once

#include <QLineEdit>
#include <cstdint>
#include <functional>
#include <optional>

namespace quorvel::ui {

/// A whole number in the digits of the user's language, without grouping. Takes any number, so
/// that whoever uses it says what is wrong with 70000. While the text is none yet ("", "-", more
/// than 64 bits hold) the last number stays; it shows again when the editing ends.
class PortField final : public QLineEdit {
  public:
    explicit PortField(QWidget* parent = nullptr);

    /// Leaves the text alone when it already says this number.
    void setNumber(std::int64_t number);

    /// Called with every number that the user types.
    std::function<void(std::int64_t number)> onNumber;

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void showNumber();

    std::int64_t number_ = 0;
};

/// Digits of any script after at most one minus sign; none for anything else.
std::optional<std::int64_t> parseNumber(const QString& text);

} // namespace quorvel::ui
