#include "platform/network/EventLoop.h"

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>
#include <csignal>

namespace quorvel::platform {

struct EventLoop::State {
    asio::io_context context;
    asio::signal_set signals{context};
};

EventLoop::EventLoop() : state_(std::make_unique<State>()) {}

EventLoop::~EventLoop() = default;

void EventLoop::post(Task task) {
    asio::post(state_->context, std::move(task));
}

void EventLoop::postAfter(std::chrono::milliseconds delay, Task task) {
    auto timer = std::make_shared<asio::steady_timer>(state_->context, delay);
    timer->async_wait([timer, task = std::move(task)](const asio::error_code& cancelled) mutable {
        if (!cancelled) task();
    });
}

void EventLoop::onTerminationSignal(Task task) {
    state_->signals.add(SIGTERM);
    state_->signals.add(SIGINT);
    state_->signals.async_wait(
        [this, task = std::move(task)](const asio::error_code& cancelled, int) mutable {
            if (cancelled) return;
            state_->signals.clear();
            task();
        });
}

void EventLoop::run() {
    const auto work = asio::make_work_guard(state_->context);
    state_->context.run();
}

void EventLoop::quit() {
    state_->context.stop();
}

} // namespace quorvel::platform
