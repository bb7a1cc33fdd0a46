#pragma once

#include "ftp/Context.h"
#include "ftp/DataChannel.h"
#include "ftp/ListingText.h"
#include "platform/network/Connection.h"
#include "platform/network/WorkerPool.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace quorvel::ftp {

/// One client, from its greeting to `removeSession`. Runs on the server's queue.
///
/// `receiveCommands` collects what the client sends, `handleLines` takes the lines, and
/// `handleCommand` finds each one's row in the command table. What may wait for a disk is done by
/// the queue's pool, and no further line is handled meanwhile, so that replies keep the order of
/// their commands. A transfer command finds its file or builds its listing when it arrives and
/// leaves the sending to an action, which runs as soon as the client has connected to the port of
/// the last PASV or EPSV.
///
/// The callbacks of its connections own the session. They are dropped when the connections end, so
/// that a session is gone soon after `close`, which the server calls when it stops.
class FTPFileServer::Session final : public std::enable_shared_from_this<Session> {
  public:
    Session(std::shared_ptr<const Context> context, std::weak_ptr<FTPFileServer> server,
            std::shared_ptr<platform::Connection> control);

    /// Greets the client and begins to read its commands.
    void start();
    /// Cancels every connection and listener of the session. Idempotent.
    void close(platform::PeerInput input = platform::PeerInput::done);

  private:
    /// A row of the command table.
    struct Command;

    /// What a client's path names, found on disk and held.
    struct FoundItem {
        std::string virtualPath;
        platform::Item item;
    };

    /// What a command does with the item that it names, if there is one.
    using ItemStep = void (Session::*)(std::optional<FoundItem> found);

    // Session.cpp: the life of the session, and its lines.
    void askForCommands();
    void receiveCommands(const platform::Received& received);
    void handleLines();
    void takeLines();
    template <class Step>
    void whileMemoryLasts(Step step);
    void pauseLines();
    void watchClient();
    void linesHandled();
    bool isHeld() const { return isPaused_ || awaitsDisk_ || heldCommand_ != nullptr; }
    void resumeLines();
    /// Does the work on the pool, then the step here (SessionSteps.h).
    template <class Value>
    void awaitDisk(std::uint64_t disk, std::move_only_function<platform::Result<Value>()> work,
                   std::move_only_function<void(Session&, platform::Result<Value>)> step);
    void closeAfterReplies();
    void removeSession(platform::PeerInput input = platform::PeerInput::done);
    void sendReply(std::string text);

    // Commands.cpp: the table, login, and commands that only answer.
    static const Command* findCommand(std::string_view verb);
    void handleCommand(std::string_view line);
    void handleUser(std::string_view argument);
    void handlePass(std::string_view argument);
    bool isLogin(std::string_view password) const;
    void sendFeatures(std::string_view argument);
    void handleType(std::string_view argument);
    void handleMode(std::string_view argument);
    void handleStructure(std::string_view argument);
    void handlePrintDirectory(std::string_view argument);
    void handleRestart(std::string_view argument);
    void handleQuit(std::string_view argument);

    // Navigation.cpp: from a client's path to an item on disk.
    void find(std::string_view argument, platform::Purpose purpose, ItemStep step);
    void itemFound(std::string virtualPath, platform::Result<platform::Item> item, ItemStep step);
    void handleChangeDirectory(std::string_view argument);
    void changeDirectory(std::optional<FoundItem> found);
    void handleParentDirectory(std::string_view argument);

    // PassiveData.cpp: a data channel for each PASV and EPSV.
    void handlePassive(std::string_view argument);
    void handleExtendedPassive(std::string_view argument);
    bool cutTransfer(void (Session::*command)(std::string_view));
    bool openDataChannel();
    std::optional<std::string> passiveAddress() const;
    platform::Result<std::uint16_t> startDataListener();
    bool canTransfer();
    std::shared_ptr<DataChannel> claimDataChannel();
    void transferEnded(const char* reply);

    // Listings.cpp
    void handleLongList(std::string_view argument);
    void handleNameList(std::string_view argument);
    void listLines(std::optional<FoundItem> found);
    void listNames(std::optional<FoundItem> found);
    void list(std::optional<FoundItem> found, ListForm form);
    void sendListing(std::string text);
    void finishListing(std::error_code error);

    // Downloads.cpp: RETR, and the attributes of files.
    void handleRetrieve(std::string_view argument);
    void retrieve(std::optional<FoundItem> found);
    void startDownload(std::shared_ptr<const platform::OpenFile> file, std::int64_t offset,
                       std::string_view name);
    void finishDownload(std::error_code error);
    void handleSize(std::string_view argument);
    void sendSize(std::optional<FoundItem> found);
    void handleModificationTime(std::string_view argument);
    void sendModificationTime(std::optional<FoundItem> found);

    const std::shared_ptr<const Context> context_;
    const std::weak_ptr<FTPFileServer> server_;
    const std::shared_ptr<platform::Connection> control_;

    bool authenticated_ = false;
    /// The name given by USER.
    std::optional<std::string> pendingUser_;
    /// Absolute within the share, "/" being the shared folder.
    std::string workingDirectory_ = "/";
    /// Set by REST and used up by the next RETR.
    std::int64_t restartOffset_ = 0;
    /// That of the last PASV or EPSV; null before the first.
    std::shared_ptr<DataChannel> dataChannel_;
    /// A PASV or EPSV that waits for the end of the transfer that it cuts, whose reply comes first.
    /// No further line is handled meanwhile.
    void (Session::*heldCommand_)(std::string_view) = nullptr;
    /// What the pool does for the last command.
    platform::WorkerPool::Work diskWork_;

    /// Received and not handled yet; holds no memory while the client is idle.
    std::string input_;
    bool isReceiving_ = false;
    bool inputHasEnded_ = false;
    /// Each keeps further lines from being handled: a pause that `resumeLines` ends, or that the
    /// session ends with; and work of the pool for the last command.
    bool isPaused_ = false;
    bool awaitsDisk_ = false;
    /// The client sends without waiting for replies, so that some may be unread when it quits.
    bool sendsAhead_ = false;
    bool isQuitting_ = false;
    bool isClosed_ = false;
};

} // namespace quorvel::ftp
