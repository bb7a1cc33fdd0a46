#include "server/ListenerStart.h"

#include "server/ServerError.h"
#include "server/Weakly.h"

#include <expected>
#include <system_error>
#include <utility>

namespace quorvel::server {

platform::Result<std::shared_ptr<platform::Listener>>
startListener(std::weak_ptr<FolderServer> server, std::uint16_t port, platform::WorkQueue& queue,
              platform::Listener::ConnectionHandler handleConnection) {
    if (port == 0) return std::unexpected(make_error_code(ServerError::invalidPort));
    auto listener = platform::Listener::create(port);
    if (!listener) return listener;
    (*listener)->onFailure(weakly(server, [](const FolderServer& self, std::error_code error) {
        if (self.onError) self.onError(describeNetworkError(error));
    }));
    (*listener)->onConnection(std::move(handleConnection));
    const auto bound = (*listener)->listen();
    queue.post(weakly(std::move(server), [bound](const FolderServer& self) {
        if (bound && self.onReady) self.onReady();
        if (!bound && self.onError) self.onError(describeNetworkError(bound.error()));
    }));
    if (bound) (*listener)->accept(queue);
    return listener;
}

} // namespace quorvel::server
