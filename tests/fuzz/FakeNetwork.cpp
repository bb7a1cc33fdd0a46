#include "FakeNetwork.h"

#include <algorithm>
#include <utility>

namespace quorvel {

namespace test {

namespace {

std::deque<platform::Task> tasks;
std::weak_ptr<FakeListener> newest;

void later(platform::Task task) {
    tasks.push_back(std::move(task));
}

} // namespace

void FakeNetwork::runTasks() {
    while (!tasks.empty()) {
        auto task = std::move(tasks.front());
        tasks.pop_front();
        task();
    }
}

std::shared_ptr<FakeListener> FakeNetwork::newestListener() {
    return newest.lock();
}

void FakeConnection::receive(std::size_t maximum, ReceiveHandler handler) {
    maximum_ = maximum;
    receiveHandler_ = std::move(handler);
    deliverSoon();
}

void FakeConnection::deliver(std::string_view bytes, bool endOfStream) {
    input_ += bytes;
    inputEnded_ = endOfStream;
    deliverSoon();
}

void FakeConnection::deliverSoon() {
    later([self = shared_from_this()] {
        const bool hasNews = self->ended_ || !self->input_.empty() || self->inputEnded_;
        if (!self->receiveHandler_ || !hasNews) return;
        auto handler = std::exchange(self->receiveHandler_, {});
        if (self->ended_)
            return handler({{}, false, std::make_error_code(std::errc::operation_canceled)});
        const std::string bytes = self->input_.substr(0, self->maximum_);
        self->input_.erase(0, bytes.size());
        handler({bytes, bytes.empty(), {}});
    });
}

void FakeConnection::send(std::string bytes, SendHandler handler, platform::MoreToSend) {
    if (!ended_) sent += bytes;
    completeSoon(std::move(handler), bytes.size());
}

void FakeConnection::sendFile(std::shared_ptr<const platform::OpenFile> file, std::int64_t offset,
                              std::size_t count, FileHandler handler, platform::MoreToSend) {
    std::string content(std::min<std::size_t>(count, 1 << 20), '\0');
    content.resize(ended_ ? 0 : file->read(offset, content).value_or(0));
    sent += content;
    completeSoon([handler = std::move(handler), size = content.size()](
                     std::error_code error) mutable { handler(error, error ? 0 : size); },
                 0);
}

void FakeConnection::completeSoon(SendHandler handler, std::size_t size) {
    if (!isReading_ && !ended_) {
        bytesWaiting_ += size;
        return stalled_.emplace_back(std::move(handler), size), void();
    }
    later([self = shared_from_this(), handler = std::move(handler)]() mutable {
        if (handler)
            handler(self->ended_ ? std::make_error_code(std::errc::operation_canceled)
                                 : std::error_code{});
    });
}

void FakeConnection::setReading(bool isReading) {
    isReading_ = isReading;
    if (!isReading) return;
    bytesWaiting_ = 0;
    for (auto& [handler, size] : std::exchange(stalled_, {}))
        completeSoon(std::move(handler), size);
}

void FakeConnection::end(std::error_code reason) {
    if (std::exchange(ended_, true)) return;
    setReading(true);
    deliverSoon();
    later([self = shared_from_this(), reason] {
        if (auto handler = std::exchange(self->endHandler_, {})) handler(reason);
    });
}

void FakeListener::start(platform::WorkQueue&) {
    later([self = shared_from_this()] {
        if (const auto handler = self->state_) handler(State::ready, {});
    });
}

void FakeListener::cancel() {
    // The caller may be one of the handlers, or owned by one.
    later([state = std::exchange(state_, {}), connection = std::exchange(connection_, {})] {});
}

std::shared_ptr<FakeConnection> FakeListener::connect() {
    if (!connection_) return nullptr;
    auto connection = std::make_shared<FakeConnection>();
    const auto handler = connection_;
    handler(connection);
    return connection;
}

} // namespace test

namespace platform {

Result<std::shared_ptr<Listener>> Listener::create(std::uint16_t) {
    const auto listener = std::make_shared<test::FakeListener>();
    test::newest = listener;
    return listener;
}

WorkQueue::WorkQueue(std::string label, std::size_t, const ThreadSetup&)
    : label_(std::move(label)) {}

WorkQueue::~WorkQueue() = default;

std::shared_ptr<WorkQueue> WorkQueue::serial(std::string label, const ThreadSetup&) {
    return std::shared_ptr<WorkQueue>(new WorkQueue(std::move(label), 0, {}));
}

std::shared_ptr<WorkQueue> WorkQueue::concurrent(std::string label, const ThreadSetup&) {
    return serial(std::move(label));
}

void WorkQueue::post(Task task) {
    test::later(std::move(task));
}

} // namespace platform

} // namespace quorvel
