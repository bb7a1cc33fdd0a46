#include "ftp/DataChannel.h"

#include "server/Download.h"

#include <cstddef>
#include <utility>

namespace quorvel::ftp {

bool DataChannel::openDataListener() {
    auto listener = platform::Listener::create(0);
    if (!listener) return false;
    dataListener_ = std::move(*listener);
    dataListener_->onConnection([self = shared_from_this()](const auto& connection) {
        self->acceptDataConnection(connection);
    });
    return true;
}

platform::Result<std::uint16_t>
DataChannel::startDataListener(platform::WorkQueue& queue,
                               platform::Listener::FailureHandler failed) {
    dataListener_->onFailure(std::move(failed));
    const auto port = dataListener_->listen();
    port ? dataListener_->accept(queue) : cancel();
    return port;
}

void DataChannel::acceptDataConnection(const std::shared_ptr<platform::Connection>& connection) {
    if (dataConnection_) return connection->cancel();
    dataConnection_ = connection;
    if (auto action = std::exchange(onDataReady_, nullptr)) action();
}

void DataChannel::whenReady(platform::Task action) {
    if (dataConnection_) return action();
    onDataReady_ = std::move(action);
}

bool DataChannel::beginTransfer() {
    // Two transfers must not mix their bytes on one connection.
    if (!dataConnection_ || isTransferring_) return false;
    isTransferring_ = true;
    return true;
}

void DataChannel::sendText(std::string text, TransferEnd end) {
    transferEnd_ = std::move(end);
    dataConnection_->send(
        std::move(text),
        [self = shared_from_this()](std::error_code error) { self->finishTransfer(error); },
        platform::MoreToSend::yes);
}

void DataChannel::sendFile(std::shared_ptr<const platform::OpenFile> file, std::int64_t offset,
                           TransferEnd end) {
    file_ = std::move(file);
    offset_ = offset;
    transferEnd_ = std::move(end);
    sendNextChunk();
}

void DataChannel::sendNextChunk() {
    dataConnection_->sendFile(
        file_, offset_, server::downloadChunkSize,
        [self = shared_from_this()](std::error_code error, std::size_t count) {
            self->chunkSent(error, count);
        },
        platform::MoreToSend::yes);
}

void DataChannel::chunkSent(std::error_code error, std::size_t count) {
    // Fewer bytes without an error: the file has ended, or a read has failed.
    if (error || count < server::downloadChunkSize) return finishTransfer(error);
    offset_ += static_cast<std::int64_t>(count);
    sendNextChunk();
}

void DataChannel::finishTransfer(std::error_code error) {
    finishDataConnection();
    file_.reset();
    std::exchange(transferEnd_, nullptr)(error);
}

void DataChannel::finishDataConnection() {
    // The close sends what the network has held back, and the end of the stream with it.
    cancel();
    dataConnection_ = nullptr;
    isTransferring_ = false;
}

void DataChannel::cancel() {
    if (dataListener_) std::exchange(dataListener_, nullptr)->cancel();
    if (dataConnection_) dataConnection_->cancel();
    onDataReady_ = nullptr;
}

} // namespace quorvel::ftp
