#include "platform/files/SettingsStore.h"

#include <charconv>
#include <system_error>

namespace quorvel::platform {

template <class Type>
std::optional<Type> SettingsStore::value(const std::string& key) const {
    const auto found = values_.find(key);
    if (found == values_.end()) return std::nullopt;
    const auto* const stored = std::get_if<Type>(&found->second);
    return stored == nullptr ? std::nullopt : std::optional(*stored);
}

std::optional<std::string> SettingsStore::string(const std::string& key) const {
    if (auto text = value<std::string>(key)) return text;
    // A file returns text that is not UTF-8 as data.
    const auto bytes = value<Data>(key);
    if (!bytes) return std::nullopt;
    return std::string(bytes->begin(), bytes->end());
}

std::optional<std::int64_t> SettingsStore::integer(const std::string& key) const {
    if (const auto number = value<std::int64_t>(key)) return number;
    const std::string text = value<std::string>(key).value_or("");
    const char* const end = text.data() + text.size();
    std::int64_t number = 0;
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc{} && stop == end ? std::optional(number) : std::nullopt;
}

std::optional<bool> SettingsStore::boolean(const std::string& key) const {
    return value<bool>(key);
}

std::optional<SettingsStore::Data> SettingsStore::data(const std::string& key) const {
    return value<Data>(key);
}

void SettingsStore::set(const std::string& key, Value value) {
    values_[key] = std::move(value);
}

} // namespace quorvel::platform
