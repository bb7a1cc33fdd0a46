#pragma once

#include "support/ServedFolder.h"

#include "ftp/FTPFileServer.h"

namespace quorvel::ftp {

using FTPFolder = test::ServedFolder<FTPFileServer>;

/// A control connection that has received the greeting.
class FTPClient : public test::SocketClient {
  public:
    explicit FTPClient(std::uint16_t port, const std::string& address = "127.0.0.1")
        : SocketClient(port, address), serverAddress_(address) {
        EXPECT_EQ(receiveUntil("\r\n"), "220 Quorvel FTP ready.\r\n");
    }

    std::string ask(const std::string& command, std::string_view end = "\r\n") {
        send(command + "\r\n");
        return receiveUntil(end);
    }
    FTPClient& loggedIn() {
        EXPECT_EQ(ask("USER anyone"), "230 Login successful.\r\n");
        return *this;
    }
    std::uint16_t passivePort(const std::string& command = "EPSV") {
        const std::string answer = ask(command);
        int high = 0;
        int low = 0;
        if (std::sscanf(answer.c_str(), "229 %*[^(](|||%d|)", &low) != 1 &&
            std::sscanf(answer.c_str(), "227 %*[^(](%*d,%*d,%*d,%*d,%d,%d)", &high, &low) != 2)
            ADD_FAILURE() << answer;
        return static_cast<std::uint16_t>(high * 256 + low);
    }
    test::SocketClient openData() { return test::SocketClient(passivePort(), serverAddress_); }

    /// Returns both replies to a transfer command, then the content of its data connection.
    std::string transfer(const std::string& command) {
        SocketClient data = openData();
        const std::string started = ask(command);
        const std::string content = data.receiveAll();
        return started + receiveUntil("\r\n") + content;
    }

  private:
    std::string serverAddress_;
};

} // namespace quorvel::ftp
