#include "platform/network/WorkQueue.h"

#include "platform/network/Loop.h"
#include "platform/network/WorkerPool.h"

#include <utility>

namespace quorvel::platform {

std::shared_ptr<WorkQueue> WorkQueue::create(const std::string& label, const ThreadSetup& setup) {
    return std::shared_ptr<WorkQueue>(new WorkQueue(label, setup));
}

WorkQueue::WorkQueue(const std::string& label, const ThreadSetup& setup)
    : loop_(std::make_shared<Loop>()), workers_(std::make_shared<WorkerPool>(label, loop_)) {
    startThread(label, [loop = loop_, workers = workers_, setup = ThreadSetup(setup)]() mutable {
        // Also releases what the setup holds.
        if (setup) std::exchange(setup, {})();
        loop->run(workers);
    });
}

WorkQueue::~WorkQueue() {
    loop_->end();
}

void WorkQueue::post(Task task) {
    // Kept alive here: the task may release the queue before the loop's post has returned.
    const auto loop = loop_;
    loop->post(std::move(task));
}

} // namespace quorvel::platform
