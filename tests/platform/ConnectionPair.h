#pragma once

#include "support/NothingLeft.h"

#include "platform/network/Listener.h"

#include <future>
#include <mutex>

namespace quorvel::platform {

using ConnectionPtr = std::shared_ptr<Connection>;

/// What happened on the queue, in order, to be looked at from the test's thread.
class Events {
  public:
    void add(const std::string& event) {
        const std::lock_guard lock(mutex_);
        events_.push_back(event);
    }
    /// Once there are that many, or no more come.
    std::vector<std::string> all(std::size_t expected = 0) {
        const auto copied = [&] {
            const std::lock_guard lock(mutex_);
            return events_;
        };
        test::eventually([&] { return copied().size() >= expected; });
        return copied();
    }
    /// Handlers that add how it went.
    auto adding(const std::string& name) {
        return [this, name](std::error_code error) {
            add(name + (error ? " " + posixErrorName(error.value()) : " ok"));
        };
    }
    auto addingReceived() {
        return [this](const Received& got) {
            if (got.error) return adding("received")(got.error);
            add(got.endOfStream ? "end of stream" : std::string(got.bytes));
        };
    }

  private:
    std::mutex mutex_;
    std::vector<std::string> events_;
};

inline void runOn(WorkQueue& queue, Task work) {
    std::packaged_task<void()> task(std::move(work));
    const auto done = task.get_future();
    queue.post(std::move(task));
    done.wait();
}

inline std::uint16_t startedPort(Listener& listener, WorkQueue& queue) {
    const auto port = listener.listen();
    listener.accept(queue);
    return port.value_or(0);
}

/// A connection with its client at the other end; the connection is touched on the queue only.
class ConnectionPair {
    std::promise<ConnectionPtr> accepted_;

    std::uint16_t listen() {
        listener->onConnection([this](const ConnectionPtr& made) { accepted_.set_value(made); });
        return startedPort(*listener, *queue);
    }

  public:
    explicit ConnectionPair(const std::string& clientsAddress = "127.0.0.1")
        : client(port, clientsAddress) {}
    /// Afterwards no callback runs: the queue is released in a turn of its own.
    ~ConnectionPair() {
        listener->cancel();
        if (WorkQueue* const last = queue.get())
            runOn(*last, [this, held = std::move(queue)]() mutable {
                connection.reset();
                held.reset();
            });
    }
    /// Runs the work on the queue and waits for it.
    void run(Task work) const { runOn(*queue, std::move(work)); }

    std::shared_ptr<WorkQueue> queue = WorkQueue::create("test.pair");
    const std::shared_ptr<Listener> listener = *Listener::create(0);
    const std::uint16_t port = listen();
    test::SocketClient client;
    ConnectionPtr connection = accepted_.get_future().get();
};

} // namespace quorvel::platform
