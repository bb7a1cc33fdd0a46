#pragma once

#include "platform/Descriptor.h"
#include "platform/network/Connection.h"
#include "platform/network/Loop.h"

#include <asio/steady_timer.hpp>
#include <cstddef>
#include <memory>
#include <optional>

namespace quorvel::platform {

/// Closes a socket whose peer may still be sending. Closing over unread input resets the
/// connection, which can destroy what the peer has not read yet (RFC 1122, 4.2.2.13); so the
/// sending side is shut down, the rest of the input is drained, and then the socket is closed.
class GracefulClose final : public LoopMember, public std::enable_shared_from_this<GracefulClose> {
  public:
    /// Closes at once if no input is unread and none is expected.
    static void start(Descriptor socket, const std::shared_ptr<Loop>& loop, PeerInput input);

    GracefulClose(Descriptor socket, std::shared_ptr<Loop> loop);
    ~GracefulClose() override;

    void closeWithLoop() override;

  private:
    enum class Input { ended, unread, none };

    static Input readAway(int socket, Loop& loop, std::size_t& allowance);
    void wait();
    void proceed();
    void close();

    Descriptor socket_;
    std::shared_ptr<Loop> loop_;
    std::optional<WatchedDescriptor> watch_;
    std::optional<asio::steady_timer> deadline_;
    std::size_t allowance_;
};

} // namespace quorvel::platform
