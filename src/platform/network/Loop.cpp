#include "platform/network/Loop.h"

#include <asio/executor_work_guard.hpp>
#include <asio/post.hpp>

namespace quorvel::platform {

void Loop::post(Task task) {
    asio::post(context_, std::move(task));
}

void Loop::end() {
    context_.stop();
}

void Loop::run() {
    const auto work = asio::make_work_guard(context_);
    context_.run();
    closeMembers();
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
