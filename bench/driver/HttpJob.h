#pragma once

#include "Job.h"
#include "Socket.h"

#include <array>
#include <optional>
#include <random>
#include <string>

namespace quorvel::bench {

/// What an HTTP client requests, and what it expects.
struct HttpPlan {
    std::uint16_t port = 0;
    std::string path;
    int status = 200;
    /// The exact length of the body; not checked if empty.
    std::optional<std::uint64_t> bodySize;
    /// If set, each request asks for `rangeSize` bytes at a random offset of the file.
    std::uint64_t fileSize = 0;
    std::uint64_t rangeSize = 0;
    /// Where the exchange stops: at its end, or where the client falls silent.
    enum class Until { end, headBegun, bodyBegun } until = Until::end;
};

/// One request on its own connection, up to the server's close.
class HttpJob final : public Job {
  public:
    HttpJob(const HttpPlan& plan, std::uint32_t seed) : plan_(plan), random_(seed) {}

    Status begin(Poller& poller, std::uint32_t number) override;
    Status ready(int descriptor, std::uint32_t events) override;
    void abandon() override { socket_.close(); }

  private:
    std::string nextRequest();
    bool isQuiet() const;
    Status sendLate();
    Socket::Input receive();
    void findHead();
    void checkStatus(std::string_view head) const;
    Status finish();

    const HttpPlan& plan_;
    std::minstd_rand random_;
    Poller* poller_ = nullptr;
    std::uint32_t number_ = 0;
    Socket socket_;
    std::string request_;
    bool requestSent_ = false;
    std::array<char, 4096> head_;
    std::size_t headFilled_ = 0;
    bool headComplete_ = false;
    std::uint64_t body_ = 0;
    std::optional<std::uint64_t> announced_;
};

} // namespace quorvel::bench
