#include "HttpJob.h"

#include <charconv>
#include <stdexcept>
#include <string_view>

namespace quorvel::bench {

namespace {

constexpr std::uint32_t inputEvents = EPOLLIN | EPOLLRDHUP;
constexpr std::string_view headEnd = "\r\n\r\n";
constexpr std::string_view lengthName = "\r\nContent-Length: ";

std::optional<std::uint64_t> contentLength(std::string_view head) {
    const auto place = head.find(lengthName);
    if (place == std::string_view::npos) return std::nullopt;
    const auto digits = head.substr(place + lengthName.size());
    std::uint64_t value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value;
}

} // namespace

Status HttpJob::begin(Poller& poller, std::uint32_t number) {
    poller_ = &poller;
    number_ = number;
    request_ = nextRequest();
    headFilled_ = 0;
    headComplete_ = false;
    body_ = 0;
    announced_.reset();
    started = Clock::now();
    socket_ = Socket(plan_.port);
    // The loopback interface connects at once, so the first send usually succeeds.
    requestSent_ = socket_.send(request_);
    if (isQuiet()) return Status::done;
    poller.watch(number, socket_.number(), requestSent_ ? inputEvents : EPOLLOUT);
    return Status::busy;
}

std::string HttpJob::nextRequest() {
    std::string text = "GET " + plan_.path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n";
    if (plan_.until == HttpPlan::Until::headBegun) return text;
    text += "Connection: close\r\n";
    if (plan_.rangeSize > 0) {
        std::uniform_int_distribution<std::uint64_t> offsets(0, plan_.fileSize - plan_.rangeSize);
        const std::uint64_t first = offsets(random_);
        text += "Range: bytes=" + std::to_string(first) + "-" +
                std::to_string(first + plan_.rangeSize - 1) + "\r\n";
    }
    return text + "\r\n";
}

bool HttpJob::isQuiet() const {
    return requestSent_ && plan_.until == HttpPlan::Until::headBegun;
}

Status HttpJob::sendLate() {
    requestSent_ = socket_.send(request_);
    if (requestSent_) poller_->change(number_, socket_.number(), inputEvents);
    return isQuiet() ? Status::done : Status::busy;
}

Status HttpJob::ready(int descriptor, std::uint32_t events) {
    if (descriptor != socket_.number()) return Status::busy;
    if (!requestSent_) return sendLate();
    const Socket::Input input = receive();
    if (headComplete_ && plan_.until == HttpPlan::Until::bodyBegun) {
        poller_->change(number_, descriptor, 0);
        return Status::done;
    }
    // Everything sent before the close has been read, so no further receive is needed to see it.
    const bool closed = (events & EPOLLRDHUP) != 0U && input.drained;
    return input.ended || closed ? finish() : Status::busy;
}

Socket::Input HttpJob::receive() {
    if (headComplete_) {
        const auto input = socket_.discard();
        body_ += input.bytes;
        bytes += input.bytes;
        return input;
    }
    if (headFilled_ == head_.size()) throw std::runtime_error("the answer's head is too long");
    const auto input = socket_.receive(std::span(head_).subspan(headFilled_));
    headFilled_ += input.bytes;
    findHead();
    return input;
}

void HttpJob::findHead() {
    const std::string_view received(head_.data(), headFilled_);
    const auto end = received.find(headEnd);
    if (end == std::string_view::npos) return;
    headComplete_ = true;
    const auto head = received.substr(0, end);
    checkStatus(head);
    announced_ = contentLength(head);
    body_ = received.size() - end - headEnd.size();
    bytes += body_;
}

void HttpJob::checkStatus(std::string_view head) const {
    const std::string expected = "HTTP/1.1 " + std::to_string(plan_.status) + " ";
    if (!head.starts_with(expected))
        throw std::runtime_error("answered " + std::string(head.substr(0, head.find('\r'))));
}

Status HttpJob::finish() {
    socket_.close();
    if (!headComplete_) throw std::runtime_error("closed without an answer");
    if (announced_ && *announced_ != body_) throw std::runtime_error("the body was cut short");
    if (plan_.bodySize && *plan_.bodySize != body_)
        throw std::runtime_error("a body of " + std::to_string(body_) + " bytes");
    return Status::done;
}

} // namespace quorvel::bench
