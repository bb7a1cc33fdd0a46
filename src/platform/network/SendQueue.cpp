#include "platform/network/SendQueue.h"

#include <cstddef>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <utility>

namespace quorvel::platform {

namespace {

// Waiting texts are joined up to this size. Not further, because a text is freed only as a whole.
constexpr std::size_t joinedTextLimit = 4096;

} // namespace

bool SendQueue::add(Outgoing item, int socket) {
    if (joinLast(item)) return false;
    if (items_.empty()) {
        // A failure is left to `proceed`, which meets it again.
        item.isComplete = attempt(item, socket) == Outgoing::Progress::complete;
        if (item.isComplete && !item.hasHandler()) return false;
    }
    append(std::move(item));
    return true;
}

void SendQueue::append(Outgoing item) {
    bytesWaiting_ += item.bytesWaiting();
    items_.push_back(std::move(item));
}

// A peer that does not read should cost the bytes that wait for it, not a list node per reply.
bool SendQueue::joinLast(const Outgoing& item) {
    if (items_.empty() || !item.isPlainText()) return false;
    Outgoing& last = items_.back();
    if (!last.isPlainText() || last.text.size() + item.text.size() > joinedTextLimit) return false;
    last.text += item.text;
    last.more = item.more;
    bytesWaiting_ += item.text.size();
    return true;
}

Outgoing::Progress SendQueue::proceed(int socket) {
    Outgoing& first = items_.front();
    if (first.isComplete) return Outgoing::Progress::complete;
    const std::size_t before = first.bytesWaiting();
    const auto progress = attempt(first, socket);
    bytesWaiting_ -= before - first.bytesWaiting();
    return progress;
}

void SendQueue::firstPieceSent(FilePiece piece, Outgoing::Progress progress, int socket) {
    Outgoing& first = items_.front();
    first.piece = std::move(piece);
    first.isComplete = progress == Outgoing::Progress::complete;
    attempted(first, progress, socket);
}

Outgoing SendQueue::takeFirst() {
    Outgoing first = std::move(items_.front());
    items_.pop_front();
    bytesWaiting_ -= first.bytesWaiting();
    return first;
}

Outgoing::Progress SendQueue::attempt(Outgoing& item, int socket) {
    // sendfile(2) has no flag like MSG_MORE, so the socket is corked for a file.
    if (item.isPiece() && item.more == MoreToSend::yes) setCork(socket, true);
    const auto progress = item.proceed(socket);
    attempted(item, progress, socket);
    return progress;
}

void SendQueue::attempted(Outgoing& item, Outgoing::Progress progress, int socket) {
    // What the cork holds back may be all that keeps a full socket from becoming writable.
    const bool isLast = progress == Outgoing::Progress::complete && item.more == MoreToSend::no;
    if (isLast || progress == Outgoing::Progress::wouldBlock) setCork(socket, false);
}

void SendQueue::setCork(int socket, bool isCorked) {
    if (isCorked_ == isCorked) return;
    isCorked_ = isCorked;
    const int value = isCorked ? 1 : 0;
    setsockopt(socket, IPPROTO_TCP, TCP_CORK, &value, sizeof value);
}

} // namespace quorvel::platform
