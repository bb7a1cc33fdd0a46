#pragma once

#include "FakeConnection.h"

#include "platform/network/Listener.h"

namespace quorvel::test {

class FakeListener final : public platform::Listener,
                           public std::enable_shared_from_this<FakeListener> {
  public:
    void onFailure(FailureHandler handler) override { failure_ = std::move(handler); }
    void onConnection(ConnectionHandler handler) override { connection_ = std::move(handler); }
    platform::Result<std::uint16_t> listen() override { return 40000; }
    void accept(platform::WorkQueue&) override {}
    void cancel() override {
        // The caller may be one of the handlers, or owned by one.
        tasks.emplace_back([failure = std::exchange(failure_, {}),
                            connection = std::exchange(connection_, {})] {});
    }

    /// A client that connects; none when the listener has been cancelled.
    std::shared_ptr<FakeConnection> connect() {
        if (!connection_) return nullptr;
        auto connection = std::make_shared<FakeConnection>();
        const auto handler = connection_;
        handler(connection);
        return connection;
    }

    /// The listener made last.
    static inline std::weak_ptr<FakeListener> newest;

  private:
    FailureHandler failure_;
    ConnectionHandler connection_;
};

} // namespace quorvel::test

// In place of the sockets and the threads, by linking before them: for one file of a program.
namespace quorvel::platform {

Result<std::shared_ptr<Listener>> Listener::create(std::uint16_t) {
    const auto listener = std::make_shared<test::FakeListener>();
    test::FakeListener::newest = listener;
    return listener;
}

WorkQueue::WorkQueue(const std::string&, std::size_t, const ThreadSetup&) {}

WorkQueue::~WorkQueue() = default;

std::shared_ptr<WorkQueue> WorkQueue::serial(const std::string& label, const ThreadSetup&) {
    return std::shared_ptr<WorkQueue>(new WorkQueue(label, 0, {}));
}

std::shared_ptr<WorkQueue> WorkQueue::concurrent(const std::string& label, const ThreadSetup&) {
    return serial(label);
}

void WorkQueue::post(Task task) {
    test::tasks.push_back(std::move(task));
}

} // namespace quorvel::platform
