#pragma once

#include "platform/Descriptor.h"
#include "platform/network/Connection.h"
#include "platform/network/DiskSend.h"
#include "platform/network/Loop.h"
#include "platform/network/SendQueue.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace quorvel::platform {

/// A connection over a non-blocking socket. It is registered with the event loop only once it
/// has to wait: most requests are read, answered and closed before that.
class StreamConnection final : public Connection,
                               public LoopMember,
                               public std::enable_shared_from_this<StreamConnection> {
  public:
    /// Nothing runs before the first `drive`, so that the accepting side can set it up.
    StreamConnection(Descriptor socket, std::shared_ptr<Loop> loop);
    ~StreamConnection() override;

    void receive(std::size_t maximum, ReceiveHandler handler) override;
    void send(std::string bytes, SendHandler handler, MoreToSend more) override;
    void sendFile(std::shared_ptr<const OpenFile> file, std::int64_t offset, std::size_t count,
                  FileHandler handler, MoreToSend more) override;
    std::size_t bytesWaiting() const override { return sendQueue_.bytesWaiting(); }
    void cancel(PeerInput input) override;
    std::string peerAddress() const override;
    std::optional<std::string> localIPv4Address() const override;

    /// Takes one turn: sends and receives as far as the socket allows without waiting.
    void drive();

    void closeWithLoop() override;

  private:
    enum class Turn : std::uint8_t { notStarted, none, scheduled, running };
    enum class Input : std::uint8_t { unknown, taken, awaited };
    enum class Step { nothingToDo, done, turnOver };
    enum class Direction { incoming, outgoing };

    bool hasEnded() const { return endCode_ != 0; }
    void enqueue(Outgoing item);
    void schedule();
    Step sendStep();
    void sendFromDisk();
    void sentFromDisk(Result<DiskSend::Outcome> outcome);
    Step receiveStep();
    void waitFor(Direction direction);
    void waitIsOver(Direction direction);
    void end(int code);
    void scheduleReport();
    void reportEnd();
    void reportNext();
    void dropHandlers();
    void leaveSocket();
    Descriptor takeSocket();

    Descriptor socket_;
    Turn turn_ = Turn::notStarted;
    Input input_ = Input::unknown;
    /// The next send has to wait for the socket, or for a thread of the pool.
    bool outputAwaited_ = false;
    std::shared_ptr<Loop> loop_;
    // An ended connection must not keep its loop alive: the loop's tasks may hold the connection.
    std::weak_ptr<Loop> endedOn_;
    std::optional<WatchedDescriptor> watch_;
    /// Exists while a thread of the pool sends the first item of the queue.
    std::unique_ptr<DiskSend> diskSend_;
    SendQueue sendQueue_;
    ReceiveHandler receiveHandler_;
    std::uint32_t receiveMaximum_ = 0;
    /// The POSIX code that pending callbacks report; 0 while the connection is open.
    int endCode_ = 0;
};

} // namespace quorvel::platform
