#pragma once

#include <QComboBox>
#include <functional>
#include <string_view>

namespace quorvel::ui {

/// A combo box with a fixed list of choices.
class Picker final : public QComboBox {
  public:
    explicit Picker(QWidget* parent);

    template <class Values>
    void addTexts(const Values& values) {
        for (const auto value : values)
            addText(rawValue(value));
    }

    /// Called with the index when the user chooses an entry, the current one included.
    std::function<void(int index)> onChoice;

  protected:
    void wheelEvent(QWheelEvent* event) override;

  private:
    void addText(std::string_view text);
};

} // namespace quorvel::ui
