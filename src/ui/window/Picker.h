#pragma once

#include <QComboBox>
#include <QSignalBlocker>
#include <QWheelEvent>
#include <functional>

namespace quorvel::ui {

/// A combo box that offers the values of an enumeration by the texts of their `rawValue`.
class Picker final : public QComboBox {
  public:
    using QComboBox::QComboBox;

    /// `onChoice` is called with the value that the user or assistive technology chooses; for the
    /// user also if it is the current one.
    template <class Values, class OnChoice>
    void offer(const Values& values, const OnChoice& onChoice) {
        for (const auto value : values)
            addItem(QString::fromUtf8(rawValue(value)), static_cast<int>(value));
        onChoice_ = [this, onChoice](int index) {
            onChoice(static_cast<typename Values::value_type>(itemData(index).toInt()));
        };
        listen();
    }

    template <class Value>
    void select(Value value) {
        const QSignalBlocker nothingIsChosen(this);
        setCurrentIndex(findData(static_cast<int>(value)));
        selectInList();
    }

    void hidePopup() override;

  protected:
    /// A choice takes effect at once, so scrolling over the picker must not make one.
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }

  private:
    void listen();
    void takeFromList(bool inOpenList);
    void selectInList();

    std::function<void(int index)> onChoice_;
    bool hasChosen_ = false;
};

} // namespace quorvel::ui
