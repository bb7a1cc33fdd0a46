#pragma once

#include "support/NothingLeft.h"
#include "support/TemporaryFolder.h"

#include "server/Credentials.h"
#include "server/FolderServer.h"

#include <future>

namespace quorvel::test {

/// Starts a server and waits for its first callback: "ready", or the message of the error.
inline std::string startAndWait(server::FolderServer& server) {
    const auto outcome = std::make_shared<std::promise<std::string>>();
    const auto set = [outcome, once = std::make_shared<std::once_flag>()](const std::string& text) {
        std::call_once(*once, [&] { outcome->set_value(text); });
    };
    server.onReady = [set] { set("ready"); };
    server.onError = set;
    if (const auto started = server.start(); !started) return started.error().message();
    return outcome->get_future().get();
}

/// A folder of its own, served on a free port; at the end nothing may be left open.
template <class Server>
class ServedFolder {
  public:
    explicit ServedFolder(const std::optional<server::Credentials>& credentials = {})
        : server(Server::create(folder.path(), port, credentials)) {
        EXPECT_EQ(startAndWait(*server), "ready");
    }
    ~ServedFolder() {
        if (server) server->stop();
    }

    /// Sends the bytes as they are and returns everything up to the end of the stream.
    std::string exchange(std::string_view bytes) const {
        SocketClient client(port);
        EXPECT_TRUE(client.send(bytes));
        std::string answer = client.receiveAll();
        EXPECT_FALSE(client.wasReset());
        return answer;
    }

    const NothingLeft nothingLeft;
    const TemporaryFolder folder;
    const std::uint16_t port = freePort();
    std::shared_ptr<Server> server;
};

} // namespace quorvel::test
