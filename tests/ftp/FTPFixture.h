#pragma once

#include "support/SocketClient.h"
#include "support/TemporaryFolder.h"

#include "ftp/FTPFileServer.h"

#include <future>
#include <gmock/gmock.h>

namespace quorvel::ftp {

/// A control connection that has been greeted.
class FTPClient : public test::SocketClient {
  public:
    explicit FTPClient(std::uint16_t port, const std::string& address = "127.0.0.1")
        : SocketClient(port, address), serverAddress_(address) {
        EXPECT_EQ(receiveUntil("\r\n"), "220 Quorvel FTP ready.\r\n");
    }

    std::string ask(std::string_view command, std::string_view end = "\r\n") {
        send(std::string(command) + "\r\n");
        return receiveUntil(end);
    }
    FTPClient& loggedIn() {
        EXPECT_EQ(ask("USER anyone"), "230 Login successful.\r\n");
        return *this;
    }
    test::SocketClient openData() { return test::SocketClient(passivePort(), serverAddress_); }
    std::uint16_t passivePort(std::string_view command = "EPSV") {
        const std::string answer = ask(command);
        int high = 0;
        int low = 0;
        if (std::sscanf(answer.c_str(), "229 %*[^(](|||%d|)", &low) != 1 &&
            std::sscanf(answer.c_str(), "227 %*[^(](%*d,%*d,%*d,%*d,%d,%d)", &high, &low) != 2)
            ADD_FAILURE() << answer;
        return static_cast<std::uint16_t>(high * 256 + low);
    }

    /// What a transfer command brings on its data connection; `replies` keeps its two replies.
    std::string transfer(std::string_view command) {
        SocketClient data = openData();
        replies = ask(command);
        const std::string content = data.receiveAll();
        replies += receiveUntil("\r\n");
        return content;
    }
    std::string replies;

  private:
    std::string serverAddress_;
};

/// A folder and its server; at the end nothing may be left open.
class FTPTest : public testing::Test {
  protected:
    void serve(std::optional<server::Credentials> credentials = {}) {
        std::promise<void> ready;
        server = FTPFileServer::create(folder.path(), port, std::move(credentials));
        server->onReady = [&] { ready.set_value(); };
        ASSERT_TRUE(server->start());
        ready.get_future().wait();
    }
    void TearDown() override {
        if (server) server->stop();
        server.reset();
        EXPECT_TRUE(platform::WorkQueue::waitUntilAllEnded(std::chrono::seconds(20)));
        EXPECT_EQ(test::openDescriptorCount(), descriptorsBefore);
    }

    const std::size_t descriptorsBefore = test::openDescriptorCount();
    const test::TemporaryFolder folder;
    const std::uint16_t port = test::freePort();
    std::shared_ptr<FTPFileServer> server;
};

} // namespace quorvel::ftp
