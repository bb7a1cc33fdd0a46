#include "model/MemorySettingsStore.h"

#include <utility>

namespace quorvel::model {

MemorySettingsStore::MemorySettingsStore(Values values) : values_(std::move(values)) {}

template <class Type>
std::optional<Type> MemorySettingsStore::value(const std::string& key) const {
    const auto found = values_.find(key);
    if (found == values_.end()) return std::nullopt;
    const auto* const stored = std::get_if<Type>(&found->second);
    if (stored == nullptr) return std::nullopt;
    return *stored;
}

std::optional<std::string> MemorySettingsStore::string(const std::string& key) const {
    return value<std::string>(key);
}

std::optional<std::int64_t> MemorySettingsStore::integer(const std::string& key) const {
    return value<std::int64_t>(key);
}

std::optional<bool> MemorySettingsStore::boolean(const std::string& key) const {
    return value<bool>(key);
}

std::optional<SettingsStore::Data> MemorySettingsStore::data(const std::string& key) const {
    return value<Data>(key);
}

void MemorySettingsStore::set(const std::string& key, Value value) {
    values_[key] = std::move(value);
}

} // namespace quorvel::model
