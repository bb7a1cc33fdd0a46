#pragma once

#include "platform/network/Connection.h"
#include "platform/network/WorkQueue.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace quorvel::test {

/// Everything that queues and connections do later waits here, for the calling thread.
inline std::deque<platform::Task> tasks;

inline void runTasks() {
    while (!tasks.empty()) {
        auto task = std::move(tasks.front());
        tasks.pop_front();
        task();
    }
}

/// The far end of one connection, in the test's hands. Keeps the contract of `Connection`: every
/// callback comes later than the call that asked for it.
class FakeConnection final : public platform::Connection,
                             public std::enable_shared_from_this<FakeConnection> {
  public:
    FakeConnection() { ++alive; }
    ~FakeConnection() override { --alive; }

    void receive(std::size_t maximum, ReceiveHandler handler) override {
        maximum_ = maximum;
        receiveHandler_ = std::move(handler);
        deliverSoon();
    }
    void send(std::string bytes, SendHandler handler, platform::MoreToSend) override {
        if (!ended_) sent += bytes;
        if (!isReading_) bytesWaiting_ += bytes.size();
        completeSoon(std::move(handler));
    }
    void sendFile(std::shared_ptr<const platform::OpenFile> file, std::int64_t offset,
                  std::size_t count, FileHandler handler, platform::MoreToSend) override {
        std::string content(std::min<std::size_t>(count, 1 << 20), '\0');
        content.resize(ended_ ? 0 : file->read(offset, content).value_or(0));
        sent += content;
        completeSoon([handler = std::move(handler), size = content.size()](auto error) mutable {
            handler(error, error ? 0 : size);
        });
    }
    std::size_t bytesWaiting() const override { return bytesWaiting_; }
    void cancel(platform::PeerInput) override { end(); }
    std::string peerAddress() const override { return "127.0.0.1"; }
    std::optional<std::string> localIPv4Address() const override { return "127.0.0.1"; }

    /// What the peer does; it returns when all that follows from it has happened.
    void deliver(std::string_view bytes, bool endOfStream = false) {
        input_ += bytes;
        inputEnded_ = endOfStream;
        deliverSoon();
        runTasks();
    }
    void setReading(bool isReading) {
        isReading_ = isReading;
        if (!isReading) return;
        bytesWaiting_ = 0;
        std::ranges::move(std::exchange(stalled_, {}), std::back_inserter(tasks));
    }
    void vanish() { end(); }

    std::string sent;
    static inline int alive = 0;

  private:
    static inline const auto cancelled = std::make_error_code(std::errc::operation_canceled);

    void deliverSoon() {
        tasks.emplace_back([self = shared_from_this()] {
            const bool hasNews = self->ended_ || !self->input_.empty() || self->inputEnded_;
            if (!self->receiveHandler_ || !hasNews) return;
            auto handler = std::exchange(self->receiveHandler_, {});
            if (self->ended_) return handler({{}, false, cancelled});
            const std::string bytes = self->input_.substr(0, self->maximum_);
            self->input_.erase(0, bytes.size());
            handler({bytes, bytes.empty(), {}});
        });
    }
    void completeSoon(SendHandler handler) {
        auto& queue = isReading_ || ended_ ? tasks : stalled_;
        queue.emplace_back([self = shared_from_this(), handler = std::move(handler)]() mutable {
            if (handler) handler(self->ended_ ? cancelled : std::error_code{});
        });
    }
    void end() {
        if (std::exchange(ended_, true)) return;
        setReading(true);
        deliverSoon();
    }
    std::string input_;
    std::size_t maximum_ = 0;
    std::size_t bytesWaiting_ = 0;
    bool inputEnded_ = false;
    bool isReading_ = true;
    bool ended_ = false;
    ReceiveHandler receiveHandler_;
    std::deque<platform::Task> stalled_;
};

} // namespace quorvel::test
