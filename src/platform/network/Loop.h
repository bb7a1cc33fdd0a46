#pragma once

#include "platform/Threads.h"

#include <array>
#include <asio/io_context.hpp>
#include <asio/posix/basic_stream_descriptor.hpp>
#include <cstddef>
#include <memory>
#include <span>

namespace quorvel::platform {

/// An object with an open descriptor on a loop. A loop that ends closes its remaining members.
class LoopMember {
  public:
    LoopMember() = default;
    LoopMember(const LoopMember&) = delete;
    LoopMember& operator=(const LoopMember&) = delete;

    virtual ~LoopMember() = default;

    /// Closes the descriptor, drops every handler uncalled and releases the loop, whose destructor
    /// then drops what Asio still holds. Called on the loop's thread.
    virtual void closeWithLoop() = 0;

  private:
    friend class Loop;
    LoopMember* previous_ = nullptr;
    LoopMember* next_ = nullptr;
    bool joined_ = false;
};

/// A descriptor that Asio only watches for readiness; its owner reads and writes it.
using WatchedDescriptor = asio::posix::basic_stream_descriptor<asio::io_context::executor_type>;

class WorkerPool;

/// One thread's event loop. Nothing that runs on it may wait for a disk. Only `post` and `end` are
/// thread-safe.
class Loop {
  public:
    /// The size of the buffer that all receives share, so that idle clients hold none.
    static constexpr std::size_t bufferSize = 65536;

    void post(Task task);
    /// Makes `run` close the members and the pool, and return.
    void end();
    /// The thread's body.
    void run(std::shared_ptr<WorkerPool> workers);

    /// The loop that runs on this thread; null on any other thread.
    static Loop* ofThisThread();

    /// The pool for what may wait, while `run` runs.
    WorkerPool& workers() { return *workers_; }

    /// Both are idempotent.
    void join(LoopMember& member);
    void leave(LoopMember& member);

    asio::io_context& context() { return context_; }
    std::span<char> buffer() { return buffer_; }

  private:
    void closeMembers();

    // One thread runs the context; the hint leaves posting from other threads safe.
    asio::io_context context_{1};
    std::shared_ptr<WorkerPool> workers_;
    LoopMember* first_ = nullptr;
    std::array<char, bufferSize> buffer_;
};

} // namespace quorvel::platform
