#pragma once

#include "FakeConnection.h"

#include "platform/network/Listener.h"
#include "platform/network/WorkerPool.h"

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

class WorkerPool::Job {
  public:
    Task work;
    Task done;
};

struct WorkerPool::Shared {};

WorkerPool::WorkerPool(std::string, std::weak_ptr<Loop>) {}

WorkerPool::~WorkerPool() = default;

WorkerPool::Work WorkerPool::add(const WorkOrigin&, Task work, Task done) {
    const auto job = std::make_shared<Job>(std::move(work), std::move(done));
    test::tasks.emplace_back([job] {
        job->work();
        if (Task step = std::exchange(job->done, nullptr)) step();
    });
    return job;
}

void WorkerPool::cancel(const Work& work) {
    if (const auto job = work.lock()) const Task done = std::exchange(job->done, nullptr);
}

WorkerPool* WorkerPool::ofThisThread() {
    return nullptr;
}

WorkQueue::WorkQueue(const std::string&, const ThreadSetup&)
    : workers_(std::make_shared<WorkerPool>("", std::weak_ptr<Loop>{})) {}

WorkQueue::~WorkQueue() = default;

std::shared_ptr<WorkQueue> WorkQueue::create(const std::string& label, const ThreadSetup&) {
    return std::shared_ptr<WorkQueue>(new WorkQueue(label, {}));
}

void WorkQueue::post(Task task) {
    test::tasks.push_back(std::move(task));
}

} // namespace quorvel::platform
