#include "ftp/PassiveReply.h"
#include "ftp/Session.h"
#include "server/LocalAddress.h"

#include <utility>

namespace quorvel::ftp {

namespace {

constexpr auto cannotOpenDataConnection = "425 Can't open data connection.\r\n";

} // namespace

void FTPFileServer::Session::handlePassive(std::string_view) {
    if (!openDataChannel()) return sendReply(cannotOpenDataConnection);
    const auto address = passiveAddress();
    if (!address) return sendReply(cannotOpenDataConnection);
    startDataListener([address](std::uint16_t port) {
        return passiveReply(*address, port).value_or(cannotOpenDataConnection);
    });
}

void FTPFileServer::Session::handleExtendedPassive(std::string_view) {
    if (!openDataChannel()) return sendReply(cannotOpenDataConnection);
    startDataListener(extendedPassiveReply);
}

bool FTPFileServer::Session::openDataChannel() {
    // A transfer that is cut here still replies for itself.
    dataChannel_->cancel();
    dataChannel_ = std::make_shared<DataChannel>();
    return dataChannel_->openDataListener();
}

std::optional<std::string> FTPFileServer::Session::passiveAddress() const {
    auto address = control_->localIPv4Address();
    return address ? address : server::localIPv4Address();
}

void FTPFileServer::Session::startDataListener(
    std::function<std::string(std::uint16_t port)> replyFor) {
    dataChannel_->startDataListener(
        *context_->queue, [self = shared_from_this(), replyFor = std::move(replyFor)](
                              const platform::Result<std::uint16_t>& port) {
            self->sendReply(port ? replyFor(*port) : cannotOpenDataConnection);
        });
}

std::shared_ptr<DataChannel> FTPFileServer::Session::claimDataChannel() {
    if (dataChannel_->beginTransfer()) return dataChannel_;
    sendReply("425 No data connection.\r\n");
    return nullptr;
}

} // namespace quorvel::ftp
