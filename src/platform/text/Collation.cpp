#include "platform/text/Text.h"

#include <cstdlib>
#include <memory>
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

} // namespace

void appendCollationKey(std::string& keys, std::string_view name) {
    // A collator is not thread-safe and is slow to make.
    thread_local const std::unique_ptr<icu::Collator> collator = makeCollator();
    if (!collator) {
        keys += name;
        return;
    }
    const auto text =
        icu::UnicodeString::fromUTF8({name.data(), static_cast<std::int32_t>(name.size())});
    const std::size_t start = keys.size();
    const auto write = [&](std::size_t space) {
        keys.resize(start + space);
        return static_cast<std::size_t>(
            collator->getSortKey(text, reinterpret_cast<std::uint8_t*>(keys.data() + start),
                                 static_cast<std::int32_t>(space)));
    };
    const std::size_t expected = name.size() * 2 + 16;
    const std::size_t length = write(expected);
    if (length > expected) write(length);
    keys.resize(start + length);
}

} // namespace quorvel::platform
