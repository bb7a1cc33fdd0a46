#pragma once

#include "support/ServedFolder.h"

#include "http/HTTPFileServer.h"

namespace quorvel::http {

struct HTTPFolder : test::ServedFolder<HTTPFileServer> {
    using ServedFolder::ServedFolder;

    /// Sends the bytes as they are and returns everything up to the end of the stream.
    std::string exchange(std::string_view bytes) const {
        test::SocketClient client(port);
        EXPECT_TRUE(client.send(bytes));
        std::string answer = client.receiveAll();
        EXPECT_FALSE(client.wasReset());
        return answer;
    }
    std::string get(const std::string& target, const std::string& headers = {}) const {
        return exchange("GET " + target + " HTTP/1.1\r\n" + headers + "\r\n");
    }
};

} // namespace quorvel::http
