#include "FtpJob.h"

#include <array>
#include <charconv>
#include <stdexcept>

namespace quorvel::bench {

namespace {

// "229 Entering Extended Passive Mode (|||6446|)" (RFC 2428, section 3).
std::uint16_t passivePort(std::string_view reply) {
    const auto place = reply.find("(|||");
    std::uint16_t port = 0;
    if (place != std::string_view::npos) {
        const auto digits = reply.substr(place + 4);
        std::from_chars(digits.data(), digits.data() + digits.size(), port);
    }
    if (port == 0) throw std::runtime_error("no port in: " + std::string(reply));
    return port;
}

bool isLastLine(std::string_view line) {
    return line.size() > 3 && line[3] == ' ' && line[0] >= '1' && line[0] <= '5';
}

} // namespace

Status FtpJob::begin(Poller& poller, std::uint32_t number) {
    poller_ = &poller;
    number_ = number;
    started = Clock::now();
    unitDone_ = false;
    if (control_) {
        command(Step::passive, "EPSV");
        return Status::busy;
    }
    input_.clear();
    step_ = Step::greeting;
    control_ = Socket(plan_.port);
    poller.watch(number, control_.number(), EPOLLIN);
    return Status::busy;
}

Status FtpJob::ready(int descriptor, std::uint32_t) {
    if (control_ && descriptor == control_.number()) return readControl();
    if (data_ && descriptor == data_.number()) return readData();
    return Status::busy;
}

Status FtpJob::readControl() {
    std::array<char, 4096> buffer;
    const auto input = control_.receive(buffer);
    input_.append(buffer.data(), input.bytes);
    while (const auto reply = nextReply())
        handleReply(*reply);
    if (!input.ended) return status();
    if (step_ != Step::closed) throw std::runtime_error("the control connection was closed");
    control_.close();
    unitDone_ = true;
    return Status::done;
}

Status FtpJob::readData() {
    const auto input = data_.discard();
    transferred_ += input.bytes;
    bytes += input.bytes;
    if (!input.ended) return Status::busy;
    // Otherwise the servers' data ports pile up in TIME_WAIT, and most of the time measured would
    // soon be the search for a free one.
    data_.closeWithReset();
    if (plan_.transferSize && *plan_.transferSize != transferred_)
        throw std::runtime_error("transferred " + std::to_string(transferred_) + " bytes");
    finishTransfer();
    return status();
}

std::optional<std::string> FtpJob::nextReply() {
    for (auto end = input_.find("\r\n"); end != std::string::npos; end = input_.find("\r\n")) {
        std::string line = input_.substr(0, end);
        input_.erase(0, end + 2);
        if (isLastLine(line)) return line;
    }
    return std::nullopt;
}

void FtpJob::handleReply(const std::string& reply) {
    switch (step_) {
    case Step::greeting:
        expect(reply, "220");
        return command(Step::user, "USER " + plan_.user);
    case Step::user:
        if (reply.starts_with("230")) return afterLogin();
        expect(reply, "331");
        return command(Step::password, "PASS " + plan_.password);
    case Step::password:
        expect(reply, "230");
        return afterLogin();
    case Step::type:
        expect(reply, "200");
        return command(Step::passive, "EPSV");
    case Step::passive:
        expect(reply, "229");
        return startTransfer(reply);
    case Step::transfer:
        if (reply.starts_with('1')) return;
        expect(reply, "226");
        transferAnswered_ = true;
        return finishTransfer();
    case Step::quit:
        expect(reply, "221");
        step_ = Step::closed;
        return;
    case Step::closed:
        throw std::runtime_error("one reply too many: " + reply);
    }
}

void FtpJob::afterLogin() {
    if (plan_.goal == FtpPlan::Goal::login)
        unitDone_ = true;
    else if (plan_.goal == FtpPlan::Goal::downloads)
        command(Step::type, "TYPE I");
    else
        command(Step::passive, "EPSV");
}

void FtpJob::startTransfer(std::string_view reply) {
    data_ = Socket(passivePort(reply));
    poller_->watch(number_, data_.number(), EPOLLIN);
    transferred_ = 0;
    transferAnswered_ = false;
    const bool listing = plan_.goal == FtpPlan::Goal::listings;
    if (listing) started = Clock::now();
    command(Step::transfer, (listing ? "LIST " : "RETR ") + plan_.path);
}

// The last reply and the end of the data arrive in either order.
void FtpJob::finishTransfer() {
    if (data_ || !transferAnswered_) return;
    if (plan_.goal == FtpPlan::Goal::session) return command(Step::quit, "QUIT");
    unitDone_ = true;
}

void FtpJob::command(Step step, const std::string& line) {
    step_ = step;
    if (!control_.send(line + "\r\n")) throw std::runtime_error("a command could not be sent");
}

void FtpJob::expect(const std::string& reply, std::string_view code) const {
    if (!reply.starts_with(code)) throw std::runtime_error("answered " + reply);
}

void FtpJob::abandon() {
    control_.close();
    data_.closeWithReset();
}

} // namespace quorvel::bench
