#pragma once

#include "Job.h"
#include "Socket.h"

#include <optional>
#include <string>
#include <string_view>

namespace quorvel::bench {

/// What an FTP client does, and what it expects.
struct FtpPlan {
    std::uint16_t port = 0;
    std::string user;
    std::string password;
    std::string path;
    /// The exact number of bytes on the data connection; not checked if empty.
    std::optional<std::uint64_t> transferSize;
    enum class Goal {
        session,   ///< Each time a new session: login, EPSV, RETR, QUIT.
        downloads, ///< One session, with EPSV and RETR each time.
        listings,  ///< One session, with EPSV and LIST each time; timed from LIST on.
        login,     ///< Only the login, then silence.
    } goal = Goal::session;
};

/// An FTP client in passive mode that waits for each reply before its next command.
class FtpJob final : public Job {
  public:
    explicit FtpJob(const FtpPlan& plan) : plan_(plan) {}

    Status begin(Poller& poller, std::uint32_t number) override;
    Status ready(int descriptor, std::uint32_t events) override;
    void abandon() override;

  private:
    enum class Step { greeting, user, password, type, passive, transfer, quit, closed };

    Status readControl();
    Status readData();
    std::optional<std::string> nextReply();
    void handleReply(const std::string& reply);
    void afterLogin();
    void startTransfer(std::string_view reply);
    void finishTransfer();
    void command(Step step, const std::string& line);
    void expect(const std::string& reply, std::string_view code) const;
    Status status() const { return unitDone_ ? Status::done : Status::busy; }

    const FtpPlan& plan_;
    Poller* poller_ = nullptr;
    std::uint32_t number_ = 0;
    Socket control_;
    Socket data_;
    std::string input_;
    Step step_ = Step::greeting;
    std::uint64_t transferred_ = 0;
    bool transferAnswered_ = false;
    bool unitDone_ = false;
};

} // namespace quorvel::bench
