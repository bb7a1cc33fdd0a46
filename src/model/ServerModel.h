#pragma once

#include "model/ChangeNotifier.h"
#include "model/CopyFormat.h"
#include "model/FolderChooser.h"
#include "model/MainQueue.h"
#include "model/ServerFactory.h"
#include "model/ServerType.h"
#include "model/ShareAddress.h"
#include "model/State.h"
#include "platform/files/SettingsStore.h"
#include "server/LocalAddress.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quorvel::model {

/// What a model depends on. The main queue is called from the servers' threads and may be
/// released on one of them; everything else is used on the main thread only.
struct Services {
    std::shared_ptr<MainQueue> mainQueue;
    std::shared_ptr<platform::SettingsStore> defaults;
    /// May be null; `chooseFolder` then does nothing.
    std::shared_ptr<FolderChooser> folderChooser;
    ServerFactory makeServer = makeFolderServer;
    std::function<std::optional<std::string>()> localIPv4Address = server::localIPv4Address;
};

/// The model behind every user interface: the settings, each stored as soon as it is set, and the
/// server that is started with them. Changing a setting does not affect a running server. Main
/// thread only.
class ServerModel final : public std::enable_shared_from_this<ServerModel> {
  public:
    using ServerType = model::ServerType;
    using CopyFormat = model::CopyFormat;
    using State = model::State;

    /// Reads the settings. Stores nothing and starts no server.
    static std::shared_ptr<ServerModel> create(Services services);

    /// Calls the observer after every change of what the getters return, never halfway through
    /// one, until the subscription is released.
    [[nodiscard]] Subscription onChange(ChangeNotifier::Observer observer);

    ServerType serverType() const { return serverType_; }
    /// Also sets the protocol's default port.
    void setServerType(ServerType type);

    /// Any number; only `start` checks that it is a valid port.
    std::int64_t port() const { return port_; }
    void setPort(std::int64_t port);

    bool useAuth() const { return useAuth_; }
    void setUseAuth(bool useAuth);

    const std::string& username() const { return username_; }
    void setUsername(std::string username);

    const std::string& password() const { return password_; }
    void setPassword(std::string password);

    CopyFormat copyFormat() const { return copyFormat_; }
    void setCopyFormat(CopyFormat format);

    /// The folder's path, "" if none was chosen. Only `chooseFolder` stores it.
    const std::string& folderPath() const { return folderPath_; }
    void setFolderPath(std::string path);

    /// Lets the user choose the folder. Returns when the panel is closed.
    void chooseFolder();
    /// The absolute path of the folder to serve: from the stored bookmark if there is one, else
    /// from `folderPath`. None if there is neither or the bookmark is invalid.
    std::optional<std::string> resolveFolderURL() const;

    const State& state() const { return state_; }
    /// The main address while running, else "".
    const std::string& primaryURL() const { return primaryURL_; }
    /// The lines for the settings window; "" after a stop.
    const std::string& infoText() const { return infoText_; }
    /// The line for the menu.
    std::string statusText() const;
    /// The folder of the current start, if it could be opened.
    const std::optional<std::string>& accessedURL() const { return accessedURL_; }

    /// Does nothing while starting or running. Errors show as the state `failed`.
    void start();
    void stop();
    void toggle();

    /// Whether clients must log in: `useAuth` is set and the user name is not empty.
    bool withLogin() const { return useAuth_ && !username_.empty(); }
    /// The share text in this format, with the current LAN address.
    std::string copyText(CopyFormat format) const;

  private:
    using ServerPtr = std::shared_ptr<server::FolderServer>;

    explicit ServerModel(Services services);
    void readSettings();

    void launch(const std::string& root, std::uint16_t port);
    void listenTo(const ServerPtr& server);
    bool wasReplaced(const std::weak_ptr<server::FolderServer>& server) const;
    void serverDidBecomeReady();
    void refreshInfo();
    void refuse(const std::string& message);
    void fail(const std::string& message);
    void tearDown();
    Share share() const;

    const Services services_;
    ChangeNotifier changes_;

    ServerType serverType_ = ServerType::http;
    std::int64_t port_ = 0;
    bool useAuth_ = false;
    std::string username_;
    std::string password_;
    CopyFormat copyFormat_ = CopyFormat::networkLine;
    std::string folderPath_;
    std::optional<platform::SettingsStore::Data> folderBookmark_;

    State state_;
    std::string primaryURL_;
    std::string infoText_;
    std::optional<std::string> accessedURL_;
    ServerPtr server_;
};

} // namespace quorvel::model
