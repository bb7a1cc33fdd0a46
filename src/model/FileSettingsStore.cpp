#include "model/FileSettingsStore.h"

#include <utility>

namespace quorvel::model {

FileSettingsStore::FileSettingsStore(std::string path) : file_(std::move(path)) {}

std::optional<std::string> FileSettingsStore::string(const std::string& key) const {
    return file_.string(key);
}

std::optional<std::int64_t> FileSettingsStore::integer(const std::string& key) const {
    return file_.integer(key);
}

std::optional<bool> FileSettingsStore::boolean(const std::string& key) const {
    return file_.boolean(key);
}

std::optional<SettingsStore::Data> FileSettingsStore::data(const std::string& key) const {
    return file_.data(key);
}

void FileSettingsStore::set(const std::string& key, Value value) {
    file_.set(key, std::move(value));
}

} // namespace quorvel::model
