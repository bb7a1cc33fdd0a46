#pragma once

#include "platform/network/WorkQueue.h"

#include <array>
#include <asio/io_context.hpp>
#include <asio/posix/basic_stream_descriptor.hpp>
#include <memory>
#include <span>

namespace quorvel::platform {

/// Something with an open descriptor on a loop. The loop closes what is left when it ends.
class LoopMember {
  public:
    LoopMember() = default;
    LoopMember(const LoopMember&) = delete;
    LoopMember& operator=(const LoopMember&) = delete;

    virtual ~LoopMember() = default;

    /// Closes the descriptor, drops every handler uncalled and lets go of the loop, whose
    /// destruction then drops what Asio still holds. On the loop's thread.
    virtual void closeWithLoop() = 0;

  private:
    friend class Loop;
    LoopMember* previous_ = nullptr;
    LoopMember* next_ = nullptr;
    bool joined_ = false;
};

/// A descriptor watched by Asio for readiness only; the reading and writing is ours.
using WatchedDescriptor = asio::posix::basic_stream_descriptor<asio::io_context::executor_type>;

/// One thread's event loop. Everything but `post` and `end` belongs to that thread.
class Loop {
  public:
    /// The buffer that every receive of this thread goes through, so that idle clients hold none.
    static constexpr std::size_t bufferSize = 65536;

    void post(Task task);
    /// Asks the loop to close its members and return from `run`. Any thread.
    void end();
    /// The thread's body.
    void run();

    /// Neither minds being asked twice.
    void join(LoopMember& member);
    void leave(LoopMember& member);

    asio::io_context& context() { return context_; }
    std::span<char> buffer() { return buffer_; }

  private:
    void closeMembers();

    // One thread runs the context; posting from others stays safe with this hint.
    asio::io_context context_{1};
    LoopMember* first_ = nullptr;
    std::array<char, bufferSize> buffer_;
};

} // namespace quorvel::platform
