#include "Load.h"

#include <algorithm>
#include <stdexcept>

namespace quorvel::bench {

namespace {

constexpr std::chrono::seconds patience{20};
// With more failures the figures are meaningless.
constexpr std::size_t failuresAllowed = 100;

} // namespace

LoadResult Load::run(const LoadEnd& end) {
    end_ = end;
    for (std::size_t i = 0; i < jobs_.size(); ++i)
        waiting_.push_back(i);
    return run();
}

LoadResult Load::runEachOnce(std::size_t parallel) {
    once_ = true;
    end_.units = jobs_.size();
    for (; next_ < std::min(parallel, jobs_.size()); ++next_)
        waiting_.push_back(next_);
    return run();
}

LoadResult Load::run() {
    began_ = Clock::now();
    beginWaiting();
    while (active_ > 0 && !(end_.cut && isOver())) {
        const auto events = poller_.wait(patience);
        if (events.empty()) throw std::runtime_error("the server does not answer any more");
        for (const auto& event : events)
            attempt(Poller::owner(event),
                    [&](Job& job) { return job.ready(Poller::descriptor(event), event.events); });
        beginWaiting();
    }
    return finish();
}

void Load::beginWaiting() {
    while (!waiting_.empty() && !isOver()) {
        const std::size_t index = waiting_.back();
        waiting_.pop_back();
        ++begun_;
        ++active_;
        attempt(index,
                [&](Job& job) { return job.begin(poller_, static_cast<std::uint32_t>(index)); });
    }
}

template <class Step>
void Load::attempt(std::size_t index, Step step) {
    try {
        settle(index, step(*jobs_[index]));
    } catch (const std::exception& error) {
        if (result_.failures++ == 0) result_.firstFailure = error.what();
        if (result_.failures > failuresAllowed) throw std::runtime_error(result_.firstFailure);
        jobs_[index]->abandon();
        putBack(index);
    }
}

void Load::settle(std::size_t index, Status status) {
    if (status == Status::busy) return;
    ++result_.units;
    const std::chrono::duration<double> latency = Clock::now() - jobs_[index]->started;
    result_.latencies.push_back(latency.count());
    putBack(index);
}

void Load::putBack(std::size_t index) {
    --active_;
    if (!once_)
        waiting_.push_back(index);
    else if (next_ < jobs_.size())
        waiting_.push_back(next_++);
}

bool Load::isOver() const {
    return (end_.units > 0 && begun_ >= end_.units) ||
           (end_.time.count() > 0 && Clock::now() - began_ >= end_.time);
}

LoadResult Load::finish() {
    result_.seconds = std::chrono::duration<double>(Clock::now() - began_).count();
    for (const auto& job : jobs_) {
        if (!once_) job->abandon();
        result_.bytes += job->bytes;
    }
    return std::move(result_);
}

} // namespace quorvel::bench
