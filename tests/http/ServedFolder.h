#pragma once

#include "support/SocketClient.h"
#include "support/TemporaryFolder.h"

#include "http/HTTPFileServer.h"

#include <future>
#include <gmock/gmock.h>

namespace quorvel::test {

/// Starts a server and waits for its first callback: "ready", or the message of the error.
inline std::string startAndWait(http::HTTPFileServer& server) {
    const auto outcome = std::make_shared<std::promise<std::string>>();
    const auto set = [outcome, isSet = std::make_shared<std::atomic_flag>()](const auto& text) {
        if (!isSet->test_and_set()) outcome->set_value(text);
    };
    server.onReady = [=] { set("ready"); };
    server.onError = set;
    if (const auto started = server.start(); !started) return started.error().message();
    return outcome->get_future().get();
}

/// A folder of its own, served on a free port.
class ServedFolder {
  public:
    explicit ServedFolder(const std::optional<server::Credentials>& credentials = {})
        : server(http::HTTPFileServer::create(folder.path(), port, credentials)) {
        EXPECT_EQ(startAndWait(*server), "ready");
    }
    /// Waits for the server's threads, so that tests can count what is left.
    ~ServedFolder() { release(); }

    void release() {
        if (server) server->stop();
        server.reset();
        EXPECT_TRUE(platform::WorkQueue::waitUntilAllEnded(std::chrono::seconds(5)));
    }

    /// Sends the bytes as they are and returns everything up to the end of the stream.
    std::string exchange(std::string_view bytes) const {
        SocketClient client(port);
        EXPECT_TRUE(client.send(bytes));
        std::string answer = client.receiveAll();
        EXPECT_FALSE(client.wasReset());
        return answer;
    }
    std::string get(std::string_view target, std::string_view headers = {}) const {
        return exchange("GET " + std::string(target) + " HTTP/1.1\r\n" + std::string(headers) +
                        "\r\n");
    }

    const TemporaryFolder folder;
    const std::uint16_t port = freePort();
    std::shared_ptr<http::HTTPFileServer> server;
};

inline std::string bodyOf(const std::string& answer) {
    const auto end = answer.find("\r\n\r\n");
    return end == std::string::npos ? "(no head)" : answer.substr(end + 4);
}

} // namespace quorvel::test
