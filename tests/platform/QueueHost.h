#pragma once

#include "support/NothingLeft.h"

#include "platform/Listener.h"

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
    /// The first so many, or fewer when no more come.
    std::vector<std::string> first(std::size_t count) {
        test::eventually([&] { return all().size() >= count; });
        return all();
    }
    std::vector<std::string> all() {
        const std::lock_guard lock(mutex_);
        return events_;
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

/// A queue with a listener that hands each connection to the test's handler, on the queue.
class QueueHost {
  public:
    explicit QueueHost(Listener::ConnectionHandler handler) {
        std::promise<void> reported;
        listener->onState([&](auto...) { reported.set_value(); });
        listener->onConnection(std::move(handler));
        listener->start(*queue);
        reported.get_future().wait();
    }
    /// Afterwards no callback runs: the queue is released in a turn of its own.
    ~QueueHost() {
        listener->cancel();
        if (WorkQueue* const last = queue.get())
            runOn(*last, [held = std::move(queue)]() mutable { held.reset(); });
    }

    std::uint16_t port() const { return listener->port().value_or(0); }
    /// Runs the work on the queue and waits for it.
    void run(Task work) const { runOn(*queue, std::move(work)); }

    std::shared_ptr<WorkQueue> queue = WorkQueue::serial("test.host");
    std::shared_ptr<Listener> listener = *Listener::create(0);

  private:
    static void runOn(WorkQueue& queue, Task work) {
        std::packaged_task<void()> task(std::move(work));
        const auto done = task.get_future();
        queue.post(std::move(task));
        done.wait();
    }
};

/// A connection with its client at the other end; the connection is touched on the queue only.
class ConnectionPair {
    std::promise<ConnectionPtr> accepted_;

  public:
    ~ConnectionPair() {
        if (connection) run([this] { connection.reset(); });
    }
    void run(Task work) const { host.run(std::move(work)); }

    QueueHost host{[this](const ConnectionPtr& made) { accepted_.set_value(made); }};
    test::SocketClient client{host.port()};
    ConnectionPtr connection = accepted_.get_future().get();
};

} // namespace quorvel::platform
