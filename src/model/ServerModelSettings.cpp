#include "model/FolderBookmark.h"
#include "model/ServerModel.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

namespace quorvel::model {

namespace {

namespace key {
constexpr auto type = "server.type";
constexpr auto port = "server.port";
constexpr auto useAuth = "server.useAuth";
constexpr auto username = "server.username";
constexpr auto password = "server.password";
constexpr auto copyFormat = "server.copyFormat";
constexpr auto folderPath = "server.folderPath";
constexpr auto folderBookmark = "server.folderBookmark";
} // namespace key

} // namespace

std::shared_ptr<ServerModel> ServerModel::create(Services services) {
    return std::shared_ptr<ServerModel>(new ServerModel(std::move(services)));
}

ServerModel::ServerModel(Services services) : services_(std::move(services)) {
    readSettings();
}

void ServerModel::readSettings() {
    const platform::SettingsStore& stored = *services_.defaults;
    serverType_ = serverTypeFrom(stored.string(key::type).value_or("")).value_or(ServerType::http);
    port_ = stored.integer(key::port).value_or(0);
    if (port_ < 1) port_ = defaultPort(serverType_);
    useAuth_ = stored.boolean(key::useAuth).value_or(false);
    username_ = stored.string(key::username).value_or("");
    password_ = stored.string(key::password).value_or("");
    copyFormat_ = copyFormatFrom(stored.string(key::copyFormat).value_or(""))
                      .value_or(CopyFormat::networkLine);
    folderPath_ = stored.string(key::folderPath).value_or("");
    folderBookmark_ = stored.data(key::folderBookmark);
}

Subscription ServerModel::onChange(ChangeNotifier::Observer observer) {
    return changes_.subscribe(std::move(observer));
}

void ServerModel::setServerType(ServerType type) {
    serverType_ = type;
    services_.defaults->set(key::type, std::string(rawValue(type)));
    setPort(defaultPort(type));
}

void ServerModel::setPort(std::int64_t port) {
    port_ = port;
    services_.defaults->set(key::port, port_);
    changes_.notify();
}

void ServerModel::setUseAuth(bool useAuth) {
    useAuth_ = useAuth;
    services_.defaults->set(key::useAuth, useAuth_);
    changes_.notify();
}

void ServerModel::setUsername(std::string username) {
    username_ = std::move(username);
    services_.defaults->set(key::username, username_);
    changes_.notify();
}

void ServerModel::setPassword(std::string password) {
    password_ = std::move(password);
    services_.defaults->set(key::password, password_);
    changes_.notify();
}

void ServerModel::setCopyFormat(CopyFormat format) {
    copyFormat_ = format;
    services_.defaults->set(key::copyFormat, std::string(rawValue(format)));
    changes_.notify();
}

void ServerModel::setFolderPath(std::string path) {
    folderPath_ = std::move(path);
    changes_.notify();
}

void ServerModel::chooseFolder() {
    if (!services_.folderChooser) return;
    // The panel runs an event loop: the caller may have released the model when it closes.
    const auto self = shared_from_this();
    const auto path =
        services_.folderChooser->chooseFolder({"Choose", "Choose a folder to share."});
    if (!path) return;
    if (auto bookmark = makeBookmark(*path)) {
        folderBookmark_ = std::move(bookmark);
        services_.defaults->set(key::folderBookmark, *folderBookmark_);
    }
    services_.defaults->set(key::folderPath, *path);
    setFolderPath(*path);
}

std::optional<std::string> ServerModel::resolveFolderURL() const {
    if (folderBookmark_) return resolveBookmark(*folderBookmark_);
    if (folderPath_.empty()) return std::nullopt;
    std::error_code unresolved;
    const auto absolute = std::filesystem::absolute(folderPath_, unresolved);
    return unresolved ? std::nullopt : std::optional(absolute.string());
}

} // namespace quorvel::model
