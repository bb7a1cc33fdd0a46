#pragma once

#include "platform/files/SharedFolder.h"
#include "platform/network/Connection.h"
#include "platform/network/Listener.h"
#include "platform/network/WorkQueue.h"
#include "server/Credentials.h"
#include "server/FolderServer.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace quorvel::ftp {

/// Serves the folder read-only over FTP (RFC 959, 2428, 3659), with passive transfers only.
///
/// Everything but `start`, `stop` and the destructor runs on the serial queue, and nobody else
/// touches a session.
///
/// The way of a client: handleNewConnection greets it; receiveCommands collects what it sends;
/// handleLines takes the lines and handleCommand finds their rows in the command table. A
/// transfer command finds its file, or builds its listing, at once and leaves the sending to an
/// action, which runs as soon as the client has connected to the port that PASV or EPSV gave it.
/// finishDataConnection ends the transfer, removeSession the session.
class FTPFileServer final : public server::FolderServer,
                            public std::enable_shared_from_this<FTPFileServer> {
  public:
    /// Asked for at most in one read of a control connection.
    static constexpr std::size_t controlReadMaximum = 8192;
    /// More bytes than these without a line feed are dropped.
    static constexpr std::size_t pendingLineLimit = 4096;
    /// While more bytes of replies wait for the client to read, no further command is taken.
    static constexpr std::size_t waitingReplyLimit = 65536;

    /// Without credentials access is open.
    static std::shared_ptr<FTPFileServer> create(const std::string& root, std::uint16_t port,
                                                 std::optional<server::Credentials> credentials);

    /// Stops; on any thread, the queue's own too.
    ~FTPFileServer() override;

    /// On the owner's thread, both. After `stop` the port is free, and every session is closed
    /// as soon as the queue gets to it.
    platform::Result<> start() override;
    void stop() override;

  private:
    using ConnectionPtr = std::shared_ptr<platform::Connection>;

    /// One client, from its connection to `removeSession`.
    struct Session;
    using SessionPtr = std::shared_ptr<Session>;

    /// What a transfer command leaves to be done with the data connection. It gets the session
    /// when it runs: holding it would be a circle.
    using TransferAction = std::move_only_function<void(const SessionPtr&)>;

    struct Session {
        explicit Session(ConnectionPtr connection) : control(std::move(connection)) {}

        const ConnectionPtr control;
        bool authenticated = false;
        /// The name given by USER.
        std::optional<std::string> pendingUser;
        /// Absolute within the folder, "/" being the folder itself.
        std::string workingDirectory = "/";
        /// Set by REST, used up by the next RETR.
        std::int64_t restartOffset = 0;

        /// What the last PASV or EPSV opened.
        std::shared_ptr<platform::Listener> dataListener;
        /// The first client that reached it.
        ConnectionPtr dataConnection;
        /// Waits for that client.
        TransferAction onDataReady;
        /// Whether a transfer is using `dataConnection`.
        bool transferRunning = false;

        /// Received and not handled yet; holds no memory while the client is idle.
        std::string input;
        bool inputEnded = false;
        /// The client sends on without waiting for replies: some may be unread when it quits.
        bool sendsAhead = false;
        bool quitReplied = false;
        bool removed = false;
    };

    /// A row of the command table.
    struct Command;

    /// What a client's path names, found on disk and held.
    struct FoundItem {
        std::string virtualPath;
        std::string location;
        platform::Item item;
    };

    /// A file on its way out, carried from one chunk to the next.
    struct Download {
        ConnectionPtr connection;
        std::shared_ptr<const platform::OpenFile> file;
        std::int64_t offset = 0;
    };

    enum class ListForm { lines, names };

    FTPFileServer(std::string root, std::uint16_t port,
                  std::optional<server::Credentials> credentials);

    // FTPFileServer.cpp: the life of a session and its lines.
    void handleNewConnection(const ConnectionPtr& connection);
    void handleConnectionState(const SessionPtr& session);
    void askForCommands(const SessionPtr& session);
    void receiveCommands(const SessionPtr& session, const platform::Received& received);
    void handleLines(const SessionPtr& session);
    void pauseLines(const SessionPtr& session);
    void linesHandled(const SessionPtr& session);
    void removeSession(const SessionPtr& session);
    static void closeSession(Session& session);
    static void sendReply(const Session& session, std::string text);

    // Commands.cpp: the table, login, and what only answers.
    static const Command* findCommand(std::string_view verb);
    void handleCommand(const SessionPtr& session, std::string_view line);
    void handleUser(const SessionPtr& session, std::string_view argument);
    void handlePass(const SessionPtr& session, std::string_view argument);
    bool isLogin(const Session& session, std::string_view password) const;
    void sendFeatures(const SessionPtr& session, std::string_view argument);
    void handleType(const SessionPtr& session, std::string_view argument);
    void handleMode(const SessionPtr& session, std::string_view argument);
    void handleStructure(const SessionPtr& session, std::string_view argument);
    void handlePrintDirectory(const SessionPtr& session, std::string_view argument);
    void handleRestart(const SessionPtr& session, std::string_view argument);
    void handleQuit(const SessionPtr& session, std::string_view argument);
    static void quitReplied(const SessionPtr& session);
    static void closeControl(const Session& session);

    // Navigation.cpp: from a client's path to an item on disk.
    std::optional<FoundItem> find(const Session& session, std::string_view argument,
                                  platform::Purpose purpose = platform::Purpose::attributes) const;
    void handleChangeDirectory(const SessionPtr& session, std::string_view argument);
    void handleParentDirectory(const SessionPtr& session, std::string_view argument);

    // PassiveData.cpp: the data connection, one for each transfer.
    void handlePassive(const SessionPtr& session, std::string_view argument);
    void handleExtendedPassive(const SessionPtr& session, std::string_view argument);
    std::shared_ptr<platform::Listener> openDataListener(const SessionPtr& session);
    static std::optional<std::string> passiveAddress(const platform::Connection& control);
    void startDataListener(const SessionPtr& session,
                           std::function<std::string(std::uint16_t port)> replyFor);
    void acceptDataConnection(const SessionPtr& session, const ConnectionPtr& connection);
    void transferWhenReady(const SessionPtr& session, TransferAction action);
    static ConnectionPtr claimDataConnection(Session& session);
    static void finishDataConnection(Session& session, const ConnectionPtr& connection);

    // Listings.cpp
    void handleLongList(const SessionPtr& session, std::string_view argument);
    void handleNameList(const SessionPtr& session, std::string_view argument);
    void handleList(const SessionPtr& session, std::string_view argument, ListForm form);
    std::string listingOf(const FoundItem& found, ListForm form) const;
    void sendListing(const SessionPtr& session, std::string text);
    static void finishListing(Session& session, const ConnectionPtr& connection,
                              std::error_code error);

    // Downloads.cpp: RETR and the facts of a file.
    void handleRetrieve(const SessionPtr& session, std::string_view argument);
    void startDownload(const SessionPtr& session, Download download, std::string_view name);
    void sendNextChunk(const SessionPtr& session, const Download& download);
    void chunkSent(const SessionPtr& session, const Download& download, std::error_code error,
                   std::size_t count);
    void handleSize(const SessionPtr& session, std::string_view argument);
    void handleModificationTime(const SessionPtr& session, std::string_view argument);

    const std::string root_;
    const std::uint16_t port_;
    const std::optional<server::Credentials> credentials_;
    const platform::SharedFolder folder_;
    const std::shared_ptr<platform::WorkQueue> queue_;
    std::shared_ptr<platform::Listener> listener_;

    /// The owner's thread takes the sessions away in `stop`, the queue's thread adds and removes.
    std::mutex mutex_;
    std::unordered_map<const platform::Connection*, SessionPtr> sessions_;
    bool stopped_ = false;
};

} // namespace quorvel::ftp
