#include "platform/network/Loop.h"

#include "platform/network/WorkerPool.h"

#include <asio/executor_work_guard.hpp>
#include <asio/post.hpp>
#include <new>
#include <utility>

namespace quorvel::platform {

namespace {

thread_local Loop* running = nullptr;

} // namespace

Loop* Loop::ofThisThread() {
    return running;
}

void Loop::post(Task task) {
    asio::post(context_, std::move(task));
}

void Loop::end() {
    context_.stop();
}

void Loop::run(std::shared_ptr<WorkerPool> workers) {
    workers_ = std::move(workers);
    running = this;
    const auto work = asio::make_work_guard(context_);
    while (!context_.stopped()) {
        try {
            context_.run();
        } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch)
            // The client went with the handler that had too little memory; the others go on.
        }
    }
    // In this order: what the members leave to the pool may not be done on this thread.
    closeMembers();
    workers_->close();
    running = nullptr;
}

void Loop::join(LoopMember& member) {
    if (member.joined_) return;
    member.joined_ = true;
    member.next_ = first_;
    if (first_ != nullptr) first_->previous_ = &member;
    first_ = &member;
}

void Loop::leave(LoopMember& member) {
    if (!member.joined_) return;
    member.joined_ = false;
    if (member.next_ != nullptr) member.next_->previous_ = member.previous_;
    (member.previous_ != nullptr ? member.previous_->next_ : first_) = member.next_;
    member.previous_ = nullptr;
    member.next_ = nullptr;
}

void Loop::closeMembers() {
    while (first_ != nullptr) {
        LoopMember& member = *first_;
        leave(member);
        member.closeWithLoop();
    }
}

} // namespace quorvel::platform
