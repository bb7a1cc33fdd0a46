#include "ftp/DateText.h"

#include <array>
#include <ctime>
#include <string_view>

namespace quorvel::ftp {

namespace {

// The C library's names depend on the process's locale.
constexpr std::array<std::string_view, 12> monthNames{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

void appendTwoDigits(std::string& text, int value) {
    text += static_cast<char>('0' + value / 10);
    text += static_cast<char>('0' + value % 10);
}

std::tm localTime(std::int64_t time) {
    std::tm fields{};
    const std::time_t beginning = 0;
    if (localtime_r(&time, &fields) == nullptr) localtime_r(&beginning, &fields);
    return fields;
}

std::string dateText(const std::tm& local) {
    std::string text(monthNames[static_cast<std::size_t>(local.tm_mon)]);
    text += ' ';
    appendTwoDigits(text, local.tm_mday);
    text += ' ';
    appendTwoDigits(text, local.tm_hour);
    text += ':';
    appendTwoDigits(text, local.tm_min);
    return text;
}

std::int64_t minuteOf(std::int64_t time) {
    return time / 60 - (time % 60 < 0 ? 1 : 0);
}

} // namespace

std::optional<std::string> modificationTimeText(std::int64_t time) {
    std::tm utc{};
    if (gmtime_r(&time, &utc) == nullptr) return std::nullopt;
    std::string text = std::to_string(utc.tm_year + 1900L);
    if (text.size() < 4) text.insert(0, 4 - text.size(), '0');
    for (const int value : {utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec})
        appendTwoDigits(text, value);
    return text;
}

std::string ListingDateFormatter::text(std::int64_t time) {
    const std::int64_t minute = minuteOf(time);
    if (const auto known = minutes_.find(minute); known != minutes_.end()) return known->second;
    const std::tm local = localTime(time);
    std::string text = dateText(local);
    // Until 1972 some zones had offsets with odd seconds: there a minute of UTC spans two local
    // ones.
    if (local.tm_gmtoff % 60 == 0) minutes_.emplace(minute, text);
    return text;
}

} // namespace quorvel::ftp
