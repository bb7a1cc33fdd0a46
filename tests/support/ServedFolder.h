#pragma once

#include "support/NothingLeft.h"
#include "support/TemporaryFolder.h"

#include "server/Credentials.h"
#include "server/FolderServer.h"

#include <atomic>
#include <future>
#include <unistd.h>

namespace quorvel::test {

/// A port on which nothing listens, from below the ephemeral range: a client could be given one of
/// those before the server binds to it.
inline std::uint16_t freePort() {
    constexpr int first = 10'000, count = 20'000, perProcess = 101;
    static std::atomic<int> next = getpid() * perProcess % count;
    while (true) {
        const platform::Descriptor probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(first + next++ % count));
        if (bind(probe.number(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
            return ntohs(address.sin_port);
    }
}

/// Starts the server and waits for its first callback: "ready", or the error's message.
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

/// A temporary folder, served on a free port. Nothing may be left open on destruction.
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

    /// Sends the bytes and returns everything up to the end of the stream.
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
