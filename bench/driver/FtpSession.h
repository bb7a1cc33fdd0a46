#pragma once

#include "Client.h"

namespace quorvel::bench {

/// An FTP client in passive mode that waits for each reply before its next command, and throws on
/// any but the expected one.
class FtpSession {
  public:
    /// Logs in.
    FtpSession(std::uint16_t port, const std::string& user, const std::string& password);

    /// Returns the last line of the reply.
    std::string ask(const std::string& command, std::string_view expected);

    /// EPSV, then the command, whose data is discarded until its end or the time; returns how many
    /// bytes came. Cut by the time, the session has to end.
    std::uint64_t transfer(const std::string& command, Clock::time_point end);

    /// When the last transfer's command was sent.
    Clock::time_point transferBegan;

  private:
    std::string reply();

    Client control_;
};

} // namespace quorvel::bench
