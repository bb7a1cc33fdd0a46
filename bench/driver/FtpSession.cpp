#include "FtpSession.h"

#include <charconv>
#include <stdexcept>

namespace quorvel::bench {

namespace {

// "229 Entering Extended Passive Mode (|||6446|)" (RFC 2428, section 3).
std::uint16_t passivePort(std::string_view reply) {
    const auto place = reply.find("(|||");
    std::uint16_t port = 0;
    if (place != std::string_view::npos)
        std::from_chars(reply.data() + place + 4, reply.data() + reply.size(), port);
    if (port == 0) throw std::runtime_error("no port in: " + std::string(reply));
    return port;
}

void expect(const std::string& reply, std::string_view code) {
    if (!reply.starts_with(code)) throw std::runtime_error("answered " + reply);
}

} // namespace

FtpSession::FtpSession(std::uint16_t port, const std::string& user, const std::string& password)
    : control_(port) {
    expect(reply(), "220");
    control_.send("USER " + user + "\r\n");
    if (const auto answer = reply(); !answer.starts_with("230")) {
        expect(answer, "331");
        ask("PASS " + password, "230");
    }
}

std::string FtpSession::ask(const std::string& command, std::string_view expected) {
    control_.send(command + "\r\n");
    auto answer = reply();
    expect(answer, expected);
    return answer;
}

std::uint64_t FtpSession::transfer(const std::string& command, Clock::time_point end) {
    Client data(passivePort(ask("EPSV", "229")));
    // Otherwise the servers' data ports pile up in TIME_WAIT, and most of the time measured would
    // soon be the search for a free one.
    data.resetOnClose();
    transferBegan = Clock::now();
    control_.send(command + "\r\n");
    const auto bytes = data.discard(end);
    if (Clock::now() >= end) return bytes;
    auto answer = reply();
    if (answer.starts_with('1')) answer = reply();
    expect(answer, "226");
    return bytes;
}

std::string FtpSession::reply() {
    std::string line;
    do {
        line = control_.until("\r\n");
    } while (line.size() < 4 || line[3] != ' ');
    return line;
}

} // namespace quorvel::bench
