#pragma once

#include "platform/Connection.h"
#include "platform/Listener.h"
#include "platform/WorkQueue.h"

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace quorvel::test {

/// The far end of one connection, in the test's hands. Keeps the contract of `Connection`: every
/// callback comes later than the call that asked for it.
class FakeConnection final : public platform::Connection,
                             public std::enable_shared_from_this<FakeConnection> {
  public:
    FakeConnection() { ++alive; }
    ~FakeConnection() override { --alive; }

    void onEnd(EndHandler handler) override { endHandler_ = std::move(handler); }
    void receive(std::size_t maximum, ReceiveHandler handler) override;
    void send(std::string bytes, SendHandler handler, platform::MoreToSend more) override;
    void sendFile(std::shared_ptr<const platform::OpenFile> file, std::int64_t offset,
                  std::size_t count, FileHandler handler, platform::MoreToSend more) override;
    void finish(SendHandler handler) override { send({}, std::move(handler), {}); }
    std::size_t bytesWaiting() const override { return bytesWaiting_; }
    void cancel(platform::PeerInput) override { end({}); }
    std::optional<std::string> localIPv4Address() const override { return "127.0.0.1"; }

    /// What the peer does.
    void deliver(std::string_view bytes, bool endOfStream = false);
    void setReading(bool isReading);
    void vanish() { end(std::make_error_code(std::errc::connection_reset)); }

    std::string sent;
    static inline int alive = 0;

  private:
    void deliverSoon();
    void completeSoon(SendHandler handler, std::size_t size);
    void end(std::error_code reason);

    std::string input_;
    std::size_t maximum_ = 0;
    std::size_t bytesWaiting_ = 0;
    bool inputEnded_ = false;
    bool isReading_ = true;
    bool ended_ = false;
    ReceiveHandler receiveHandler_;
    EndHandler endHandler_;
    std::deque<std::pair<SendHandler, std::size_t>> stalled_;
};

class FakeListener final : public platform::Listener,
                           public std::enable_shared_from_this<FakeListener> {
  public:
    void onState(StateHandler handler) override { state_ = std::move(handler); }
    void onConnection(ConnectionHandler handler) override { connection_ = std::move(handler); }
    void start(platform::WorkQueue& queue) override;
    std::optional<std::uint16_t> port() const override { return 40000; }
    void cancel() override;

    /// A client that connects; none when the listener has been cancelled.
    std::shared_ptr<FakeConnection> connect();

  private:
    StateHandler state_;
    ConnectionHandler connection_;
};

/// In place of the sockets and the threads, by linking before them: `Listener::create` and the
/// queues. Every task waits for `runTasks` on the calling thread.
struct FakeNetwork {
    static void runTasks();
    /// The listener made last.
    static std::shared_ptr<FakeListener> newestListener();
};

} // namespace quorvel::test
