#pragma once

#include "support/SocketClient.h"

#include "platform/Listener.h"

#include <future>
#include <gmock/gmock.h>
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
    void add(const std::string& event, std::error_code error) {
        add(event + (error ? posixErrorName(error.value()) : "ok"));
    }
    /// The first so many, or fewer when no more come.
    std::vector<std::string> first(std::size_t count) const {
        test::eventually([&] { return all().size() >= count; });
        return all();
    }
    std::vector<std::string> all() const {
        const std::lock_guard lock(mutex_);
        return events_;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> events_;
};

/// A queue with a listener that hands each connection to the test's handler, on the queue.
class QueueHost {
  public:
    explicit QueueHost(Listener::ConnectionHandler handler, std::uint16_t port = 0)
        : listener(*Listener::create(port)) {
        std::promise<void> reported;
        listener->onState([&](Listener::State state, std::error_code error) {
            outcome = state == Listener::State::ready ? "ready" : posixErrorName(error.value());
            reported.set_value();
        });
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
    std::shared_ptr<Listener> listener;
    std::string outcome;

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
  public:
    ConnectionPair() : host([this](const ConnectionPtr& made) { accepted_.set_value(made); }) {
        client.emplace(host.port());
        connection = accepted_.get_future().get();
    }
    ~ConnectionPair() {
        if (connection) host.run([this] { connection.reset(); });
    }

    std::optional<test::SocketClient> client;
    ConnectionPtr connection;

  private:
    std::promise<ConnectionPtr> accepted_;

  public:
    QueueHost host;
};

inline Connection::SendHandler report(Events& events, const std::string& name) {
    return [&events, name](std::error_code error) { events.add(name + " ", error); };
}

inline Connection::ReceiveHandler reportReceived(Events& events) {
    return [&events](const Received& received) {
        if (received.error) return events.add("received ", received.error);
        events.add(received.endOfStream ? "end of stream" : std::string(received.bytes));
    };
}

} // namespace quorvel::platform
