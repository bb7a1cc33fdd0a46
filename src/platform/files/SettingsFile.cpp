#include "platform/files/SettingsFile.h"

#include "platform/text/Text.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <glib.h>
#include <iterator>
#include <nlohmann/json.hpp>

namespace quorvel::platform {

namespace {

using nlohmann::json;

// What JSON cannot hold (data, and file names that are not UTF-8) is stored as a list of bytes.
constexpr auto bytesMember = "bytes";

constexpr auto wholeAndOnDisk = static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT |
                                                                   G_FILE_SET_CONTENTS_DURABLE);

json toJson(const SettingsStore::Value& value) {
    if (const auto* const flag = std::get_if<bool>(&value)) return *flag;
    if (const auto* const number = std::get_if<std::int64_t>(&value)) return *number;
    if (const auto* const text = std::get_if<std::string>(&value)) {
        if (isValidUtf8(*text)) return *text;
        return {{bytesMember, SettingsStore::Data(text->begin(), text->end())}};
    }
    return {{bytesMember, std::get<SettingsStore::Data>(value)}};
}

std::optional<SettingsStore::Value> fromJson(const json& stored) {
    if (stored.is_boolean()) return stored.get<bool>();
    if (stored.is_number_unsigned() &&
        stored.get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX))
        return std::nullopt;
    if (stored.is_number_integer()) return stored.get<std::int64_t>();
    if (stored.is_string()) return stored.get<std::string>();
    if (!stored.is_object() || !stored.contains(bytesMember)) return std::nullopt;
    const json& bytes = stored[bytesMember];
    if (!bytes.is_array()) return std::nullopt;
    SettingsStore::Data data;
    for (const json& byte : bytes) {
        if (!byte.is_number_unsigned() || byte.get<std::uint64_t>() > 255) return std::nullopt;
        data.push_back(byte.get<std::uint8_t>());
    }
    return data;
}

SettingsStore::Values load(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return {};
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    const json document = json::parse(content, nullptr, false);
    if (!document.is_object()) {
        std::rename(path.c_str(), (path + ".unreadable").c_str());
        return {};
    }
    SettingsStore::Values values;
    for (const auto& [key, stored] : document.items())
        if (auto value = fromJson(stored)) values[key] = std::move(*value);
    return values;
}

} // namespace

std::string SettingsFile::defaultPath() {
    const auto variable = [](const char* name) {
        const char* const value = std::getenv(name);
        return std::string(value == nullptr ? "" : value);
    };
    std::string base = variable("XDG_CONFIG_HOME");
    // Relative paths must be ignored (XDG Base Directory).
    if (!base.starts_with('/')) base = variable("HOME") + "/.config";
    return base + "/quorvel-server/settings.json";
}

SettingsFile::SettingsFile(std::string path) : SettingsStore(load(path)), path_(std::move(path)) {}

bool SettingsFile::save() const {
    json document = json::object();
    for (const auto& [key, value] : values())
        document[key] = toJson(value);
    const std::string content = document.dump(2) + '\n';

    g_mkdir_with_parents(std::filesystem::path(path_).parent_path().c_str(), 0700);
    // The temporary file has this mode from the start, so others can never read the password.
    return g_file_set_contents_full(path_.c_str(), content.c_str(), -1, wholeAndOnDisk, 0600,
                                    nullptr) != FALSE;
}

void SettingsFile::set(const std::string& key, Value value) {
    // Many sets change nothing, and a write waits for the disk.
    const auto known = values().find(key);
    if (saved_ && known != values().end() && known->second == value) return;
    SettingsStore::set(key, std::move(value));
    saved_ = save();
}

} // namespace quorvel::platform
