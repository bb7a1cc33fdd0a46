#include "ftp/PassiveReply.h"
#include "ftp/SessionSteps.h"
#include "server/LocalAddress.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace quorvel::ftp {

namespace {

constexpr auto cannotOpenDataConnection = "425 Can't open data connection.\r\n";
constexpr auto noDataConnection = "425 No data connection.\r\n";

} // namespace

void FTPFileServer::Session::handlePassive(std::string_view) {
    if (cutTransfer(&Session::handlePassive)) return;
    if (!openDataChannel()) return sendReply(cannotOpenDataConnection);
    const auto address = passiveAddress();
    if (!address) {
        dataChannel_->cancel();
        return sendReply(cannotOpenDataConnection);
    }
    const auto port = startDataListener();
    sendReply(port ? passiveReply(*address, *port).value_or(cannotOpenDataConnection)
                   : cannotOpenDataConnection);
}

void FTPFileServer::Session::handleExtendedPassive(std::string_view) {
    if (cutTransfer(&Session::handleExtendedPassive)) return;
    if (!openDataChannel()) return sendReply(cannotOpenDataConnection);
    const auto port = startDataListener();
    sendReply(port ? extendedPassiveReply(*port) : cannotOpenDataConnection);
}

bool FTPFileServer::Session::cutTransfer(void (Session::*command)(std::string_view)) {
    if (!dataChannel_ || !dataChannel_->isTransferring()) return false;
    heldCommand_ = command;
    dataChannel_->cancel();
    return true;
}

void FTPFileServer::Session::transferEnded(const char* reply) {
    const auto command = std::exchange(heldCommand_, nullptr);
    whileMemoryLasts([&] {
        sendReply(reply);
        if (command != nullptr && !isClosed_) (this->*command)({});
    });
    if (command != nullptr) handleLines();
}

bool FTPFileServer::Session::openDataChannel() {
    if (dataChannel_) dataChannel_->cancel();
    dataChannel_ = std::make_shared<DataChannel>();
    return dataChannel_->openDataListener();
}

std::optional<std::string> FTPFileServer::Session::passiveAddress() const {
    auto address = control_->localIPv4Address();
    return address ? address : server::localIPv4Address();
}

platform::Result<std::uint16_t> FTPFileServer::Session::startDataListener() {
    return dataChannel_->startDataListener(
        *context_->queue,
        [self = shared_from_this(), channel = std::weak_ptr(dataChannel_)](std::error_code) {
            self->sendReply(cannotOpenDataConnection);
            if (const auto failed = channel.lock()) failed->cancel();
        });
}

bool FTPFileServer::Session::canTransfer() {
    // Without a port no client can connect, and what is asked for waits for nothing.
    if (!dataChannel_ || !dataChannel_->isOpen()) return false;
    if (!dataChannel_->isTransferring()) return true;
    sendReply(noDataConnection);
    return false;
}

std::shared_ptr<DataChannel> FTPFileServer::Session::claimDataChannel() {
    if (dataChannel_->beginTransfer()) return dataChannel_;
    sendReply(noDataConnection);
    return nullptr;
}

} // namespace quorvel::ftp
