#include "platform/files/SettingsFile.h"

#include "platform/text/Text.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <glib.h>
#include <ios>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <variant>

namespace quorvel::platform {

namespace {

using json = nlohmann::ordered_json;
namespace fs = std::filesystem;

// What JSON cannot hold (data, and file names that are not UTF-8) is stored as a list of bytes.
constexpr auto bytesMember = "bytes";

// More than any settings have: reading stays quick, and what is read can be written again.
constexpr std::streamsize sizeLimit = 1 << 20;
constexpr int depthLimit = 100;

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

std::optional<SettingsStore::Value> wholeNumber(double number) {
    constexpr double limit = 1LL << 53; // up to here a double holds every integer
    if (std::abs(number) > limit || std::trunc(number) != number) return std::nullopt;
    return static_cast<std::int64_t>(number);
}

std::optional<SettingsStore::Value> fromJson(const json& stored) {
    if (stored.is_boolean()) return stored.get<bool>();
    if (stored.is_number_unsigned() &&
        stored.get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX))
        return std::nullopt;
    if (stored.is_number_integer()) return stored.get<std::int64_t>();
    if (stored.is_number_float()) return wholeNumber(stored.get<double>());
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

std::optional<json> parsed(const std::string& content) {
    bool isTooDeep = false;
    const auto watchDepth = [&isTooDeep](int depth, json::parse_event_t, const json&) {
        isTooDeep |= depth > depthLimit;
        return !isTooDeep;
    };
    json document = json::parse(content, watchDepth, false);
    return document.is_object() && !isTooDeep ? std::optional(std::move(document)) : std::nullopt;
}

/// The object in the file, empty if there is no file; none if something else is there, or it cannot
/// be read.
std::optional<json> documentAt(const std::string& path) {
    std::error_code unknown;
    const auto type = fs::status(path, unknown).type();
    if (type == fs::file_type::not_found) return std::optional<json>(json::object());
    // Opening a FIFO would wait for its writer.
    if (type != fs::file_type::regular) return std::nullopt;
    std::ifstream file(path, std::ios::binary);
    std::string content(sizeLimit + 1, '\0');
    file.read(content.data(), sizeLimit + 1);
    if (!file.eof() || file.bad()) return std::nullopt;
    content.resize(static_cast<std::size_t>(file.gcount()));
    return parsed(content);
}

SettingsStore::Values load(const std::string& path) {
    SettingsStore::Values values;
    const json document = documentAt(path).value_or(json::object());
    for (const auto& [key, stored] : document.items())
        if (auto value = fromJson(stored)) values[key] = std::move(*value);
    return values;
}

/// Where a link leads, so that it stays a link; the path itself if it leads nowhere.
std::string linkTarget(const std::string& path) {
    constexpr int linkLimit = 40; // as many as the kernel follows
    fs::path target = path;
    std::error_code error;
    for (int links = 0; links < linkLimit; ++links) {
        if (!fs::is_symlink(target, error)) return target;
        target = target.parent_path() / fs::read_symlink(target, error);
    }
    return path;
}

/// Renames what is there to end in ".unreadable", with a number if that is taken.
bool moveAside(const std::string& path) {
    constexpr int nameLimit = 100;
    for (int number = 1; number <= nameLimit; ++number) {
        std::string aside = path + ".unreadable";
        if (number > 1) aside += "." + std::to_string(number);
        std::error_code error;
        if (fs::exists(fs::symlink_status(aside, error))) continue;
        fs::rename(path, aside, error);
        return !error;
    }
    return false;
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
    std::string target = linkTarget(path_);
    auto document = documentAt(target);
    if (!document) {
        // A link may lead to a device or to a folder, which is not ours to move.
        std::error_code unknown;
        if (!fs::is_regular_file(target, unknown)) target = path_;
        if (!moveAside(target)) return false;
        document = json::object();
    }
    for (const auto& [key, value] : values())
        (*document)[key] = toJson(value);
    const std::string content = document->dump(2) + '\n';

    g_mkdir_with_parents(fs::path(path_).parent_path().c_str(), 0700);
    // The temporary file has this mode from the start, so others can never read the password.
    return g_file_set_contents_full(target.c_str(), content.c_str(), -1, wholeAndOnDisk, 0600,
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
