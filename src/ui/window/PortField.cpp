#include "ui/window/PortField.h"

#include <QEvent>
#include <QLocale>
#include <QSignalBlocker>
#include <QValidator>
#include <algorithm>
#include <optional>

namespace quorvel::ui {

namespace {

bool startsWithMinus(const QString& text) {
    return text.startsWith(u'-') || text.startsWith(QChar(0x2212));
}

QStringView withoutMinus(const QString& text) {
    return QStringView(text).mid(startsWithMinus(text) ? 1 : 0);
}

/// Rejects what cannot become a number; an incomplete one is acceptable.
class NumberValidator final : public QValidator {
  public:
    using QValidator::QValidator;

    State validate(QString& text, int&) const override {
        text.remove(u' '); // around a pasted number
        const bool possible = std::ranges::all_of(
            withoutMinus(text), [](QChar character) { return character.isDigit(); });
        return possible ? Acceptable : Invalid;
    }
};

/// Digits of any script with an optional leading minus sign; nullopt for anything else.
std::optional<std::int64_t> parseNumber(const QString& text) {
    const QStringView digits = withoutMinus(text);
    if (digits.isEmpty()) return std::nullopt;
    std::int64_t number = 0;
    for (const QChar character : digits) {
        if (!character.isDigit() || __builtin_mul_overflow(number, 10, &number) ||
            __builtin_add_overflow(number, character.digitValue(), &number))
            return std::nullopt;
    }
    return startsWithMinus(text) ? -number : number;
}

} // namespace

PortField::PortField(QWidget* parent) : QLineEdit(parent) {
    setValidator(new NumberValidator(this));
    setInputMethodHints(Qt::ImhDigitsOnly);
    connect(this, &QLineEdit::textChanged, this, &PortField::takeNumber);
    connect(this, &QLineEdit::editingFinished, this, &PortField::showNumber);
    showNumber();
}

void PortField::takeNumber(const QString& text) {
    // Assistive technology can write into a disabled field, and past the validator.
    if (!isEnabled() || !hasAcceptableInput()) return showNumber();
    const auto number = parseNumber(text);
    if (!number) return;
    number_ = *number;
    if (onNumber) onNumber(number_);
}

void PortField::setNumber(std::int64_t number) {
    if (number == number_) return;
    number_ = number;
    showNumber();
}

void PortField::showNumber() {
    QLocale locale;
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    const QString text = locale.toString(qlonglong(number_));
    const QSignalBlocker nothingIsEdited(this);
    if (this->text() != text) setText(text);
}

void PortField::changeEvent(QEvent* event) {
    QLineEdit::changeEvent(event);
    // Assistive technology edits without the focus, whose loss would end the editing.
    const bool ends = event->type() == QEvent::EnabledChange && !isEnabled();
    if (ends || event->type() == QEvent::LocaleChange) showNumber();
}

} // namespace quorvel::ui
