#pragma once

#include "platform/network/Connection.h"
#include "platform/network/Listener.h"
#include "platform/network/WorkQueue.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <system_error>

namespace quorvel::ftp {

/// The data channel that one PASV or EPSV opens: a port, the first client that connects to it, and
/// one transfer, after which it is closed. Runs on the server's queue.
class DataChannel final : public std::enable_shared_from_this<DataChannel> {
  public:
    /// Runs after the channel has been closed: without an error once the network has taken all of
    /// the transfer.
    using TransferEnd = std::move_only_function<void(std::error_code)>;

    /// Makes the listener, which does not listen yet. False when the process is out of descriptors.
    bool openDataListener();
    /// Listens on a port of the system's choice, which clients can connect to from then on. The
    /// handler runs on the queue if the listener fails later.
    platform::Result<std::uint16_t> startDataListener(platform::WorkQueue& queue,
                                                      platform::Listener::FailureHandler failed);

    /// Runs the action now if a client has connected, else as soon as one does. An action that is
    /// still waiting is replaced.
    void whenReady(platform::Task action);
    /// False when no client has connected, or the channel's one transfer is running already.
    bool beginTransfer();
    bool isTransferring() const { return isTransferring_; }
    /// False once its transfer has ended.
    bool isOpen() const { return dataListener_ || dataConnection_; }

    /// Each sends the content of the transfer that has begun, then closes the channel.
    void sendText(std::string text, TransferEnd end);
    void sendFile(std::shared_ptr<const platform::OpenFile> file, std::int64_t offset,
                  TransferEnd end);

    /// Closes the channel. A transfer that is running ends with ECANCELED; an action that is
    /// waiting is dropped.
    void cancel();

  private:
    void acceptDataConnection(const std::shared_ptr<platform::Connection>& connection);
    void sendNextChunk();
    void chunkSent(std::error_code error, std::size_t count);
    void finishTransfer(std::error_code error);
    void finishDataConnection();

    std::shared_ptr<platform::Listener> dataListener_;
    std::shared_ptr<platform::Connection> dataConnection_;
    platform::Task onDataReady_;

    bool isTransferring_ = false;
    std::shared_ptr<const platform::OpenFile> file_;
    std::int64_t offset_ = 0;
    TransferEnd transferEnd_;
};

} // namespace quorvel::ftp
