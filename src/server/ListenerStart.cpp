#include "server/ListenerStart.h"

#include "server/ServerError.h"

namespace quorvel::server {

namespace {

void handleListenerState(const FolderServer& server, const platform::Result<std::uint16_t>& port) {
    if (port && server.onReady) server.onReady();
    if (!port && server.onError) server.onError(describeNetworkError(port.error()));
}

} // namespace

platform::Result<std::shared_ptr<platform::Listener>>
startListener(std::weak_ptr<FolderServer> server, std::uint16_t port, platform::WorkQueue& queue,
              platform::Listener::ConnectionHandler handleConnection) {
    if (port == 0) return std::unexpected(make_error_code(ServerError::invalidPort));
    auto listener = platform::Listener::create(port);
    if (!listener) return listener;
    (*listener)->onState([server = std::move(server)](const auto& state) {
        if (const auto alive = server.lock()) handleListenerState(*alive, state);
    });
    (*listener)->onConnection(std::move(handleConnection));
    (*listener)->start(queue);
    return listener;
}

} // namespace quorvel::server
