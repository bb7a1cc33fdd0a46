#pragma once

#include "platform/Descriptor.h"
#include "platform/network/Connection.h"
#include "platform/network/Loop.h"
#include "platform/network/Outgoing.h"

#include <list>

namespace quorvel::platform {

/// A connection over a non-blocking socket. It is registered with the event loop only once it
/// has had to wait: most requests are read, answered and closed before that.
class StreamConnection final : public Connection,
                               public LoopMember,
                               public std::enable_shared_from_this<StreamConnection> {
  public:
    /// Nothing runs until the first `drive`, so that the accepting side can set it up.
    StreamConnection(Descriptor socket, std::shared_ptr<Loop> loop);
    ~StreamConnection() override;

    void onEnd(EndHandler handler) override { endHandler_ = std::move(handler); }
    void receive(std::size_t maximum, ReceiveHandler handler) override;
    void send(std::string bytes, SendHandler handler, MoreToSend more) override;
    void sendFile(std::shared_ptr<const OpenFile> file, std::int64_t offset, std::size_t count,
                  FileHandler handler, MoreToSend more) override;
    std::size_t bytesWaiting() const override { return bytesWaiting_; }
    void cancel(PeerInput input) override;
    std::optional<std::string> localIPv4Address() const override;

    /// Goes on with what was asked for as far as the socket allows without waiting.
    void drive();

    void closeWithLoop() override;

  private:
    enum class Direction { incoming, outgoing };

    void enqueue(Outgoing item);
    bool joinLast(const Outgoing& item);
    void schedule();
    /// What they did, as bytes of a turn; 0 when there is nothing to do now.
    std::size_t sendStep();
    std::size_t receiveStep();
    Outgoing::Progress attempt(Outgoing& item);
    void setCork(bool corked);
    void waitFor(Direction direction);
    void end(std::error_code reason, PeerInput input);
    void reportEnd();
    void leaveWhenIdle();
    void dropHandlers();
    Descriptor takeSocket();

    Descriptor socket_;
    std::shared_ptr<Loop> loop_;
    // What has ended must not hold its loop: tasks and waits of the loop may hold it.
    std::weak_ptr<Loop> endedOn_;
    std::optional<WatchedDescriptor> watch_;
    std::list<Outgoing> outgoing_;
    ReceiveHandler receiveHandler_;
    EndHandler endHandler_;
    std::error_code failure_;
    std::size_t receiveMaximum_ = 0;
    std::size_t bytesWaiting_ = 0;
    bool driving_ = true;
    bool scheduled_ = false;
    bool ended_ = false;
    bool corked_ = false;
    bool readWaiting_ = false;
    /// The last receive took all that had arrived.
    bool inputTaken_ = false;
    bool writeWaiting_ = false;
};

} // namespace quorvel::platform
