#include "platform/text/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unicode/coll.h>
#include <unicode/sortkey.h>
#include <unicode/unistr.h>

namespace quorvel::platform {

namespace {

/// The ICU locale that the environment asks for; "" is the root locale.
std::string collationLocale() {
    for (const char* const variable : {"LC_ALL", "LC_COLLATE", "LANG"}) {
        const char* const value = std::getenv(variable);
        if (value == nullptr || *value == '\0') continue;
        const std::string locale = std::string(value).substr(0, std::string_view(value).find('.'));
        return locale == "C" || locale == "POSIX" ? "" : locale;
    }
    return "";
}

std::unique_ptr<icu::Collator> makeCollator() {
    UErrorCode status = U_ZERO_ERROR;
    // Not ICU's default, which maps C and C.UTF-8 to a locale that distinguishes case.
    const icu::Locale locale(collationLocale().c_str());
    std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(locale, status));
    if (U_FAILURE(status)) return nullptr;
    collator->setAttribute(UCOL_STRENGTH, UCOL_SECONDARY, status);
    collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    collator->setAttribute(UCOL_ALTERNATE_HANDLING, UCOL_NON_IGNORABLE, status);
    collator->setAttribute(UCOL_NORMALIZATION_MODE, UCOL_ON, status);
    return collator;
}

void appendKey(std::string& keys, const icu::Collator& collator, std::u16string_view text) {
    const std::size_t start = keys.size();
    const auto write = [&](std::size_t space) {
        std::size_t length = 0;
        keys.resize_and_overwrite(start + space, [&](char* bytes, std::size_t) {
            length = static_cast<std::size_t>(collator.getSortKey(
                text.data(), static_cast<std::int32_t>(text.size()),
                reinterpret_cast<std::uint8_t*>(bytes + start), static_cast<std::int32_t>(space)));
            return start + std::min(length, space);
        });
        return length;
    };
    const std::size_t expected = text.size() * 2 + 16;
    const std::size_t length = write(expected);
    if (length > expected) write(length);
}

/// Whether the text is ASCII; if so, `units` is the text.
bool widenAscii(std::string_view text, std::span<char16_t> units) {
    unsigned char bits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        units[i] = byte;
        bits |= byte;
    }
    return bits < 0x80;
}

} // namespace

void appendCollationKey(std::string& keys, std::string_view name) {
    // A collator is not thread-safe.
    thread_local const std::unique_ptr<icu::Collator> collator = makeCollator();
    if (!collator) {
        keys += name;
        return;
    }
    // ICU's conversion takes a sixth of the time of a whole key.
    std::array<char16_t, 64> units;
    if (name.size() <= units.size() && widenAscii(name, units))
        return appendKey(keys, *collator, {units.data(), name.size()});
    const auto text =
        icu::UnicodeString::fromUTF8({name.data(), static_cast<std::int32_t>(name.size())});
    appendKey(keys, *collator, {text.getBuffer(), static_cast<std::size_t>(text.length())});
}

} // namespace quorvel::platform
