#include "ftp/FTPFixture.h"

#include <thread>

namespace quorvel::ftp {

namespace {

using test::SocketClient;

constexpr std::size_t bigSize = 64 << 20;

/// Clients in every state that holds something open; `TearDown` looks at what is left.
class FTPLifetime : public FTPTest {
  protected:
    void SetUp() override {
        folder.writeSparse("big", bigSize);
        serve();
        for (int i = 0; i < 4; ++i)
            clients.emplace_back(port).loggedIn();
        clients[1].passivePort("PASV");
        clients[2].passivePort();
        clients[2].send("RETR big\r\n");
        data.emplace(clients[3].openData());
        EXPECT_EQ(clients[3].ask("RETR big"), "150 Opening data connection for big.\r\n");
    }
    void expectAllClosed() {
        EXPECT_LT(data->receiveAll().size(), bigSize);
        for (auto& client : clients)
            client.receiveAll();
        dropClients();
    }
    void dropClients() {
        clients.clear();
        data.reset();
    }

    std::vector<FTPClient> clients;
    std::optional<SocketClient> data;
};

TEST_F(FTPLifetime, StopClosesEverything) {
    server->stop();
    server->stop();
    expectAllClosed();
    serve();
    EXPECT_EQ(FTPClient(port).ask("NOOP"), "200 OK\r\n") << "the port is free";
}

TEST_F(FTPLifetime, StopAndReleaseCloseEverything) {
    server->stop();
    server.reset();
    expectAllClosed();
}

TEST_F(FTPLifetime, ReleaseAloneClosesEverything) {
    server.reset();
    expectAllClosed();
}

TEST_F(FTPLifetime, QuitClosesItsSessionAlone) {
    EXPECT_EQ(clients[3].ask("QUIT"), "221 Goodbye.\r\n");
    EXPECT_EQ(clients[3].receiveAll(), "");
    EXPECT_LT(data->receiveAll().size(), bigSize);
    EXPECT_EQ(clients[0].ask("NOOP"), "200 OK\r\n");
    dropClients();
}

TEST_F(FTPLifetime, ClientsThatVanishLeaveNothing) {
    dropClients();
    const auto queueAndListener = descriptorsBefore + 4;
    EXPECT_TRUE(test::eventually([&] { return test::openDescriptorCount() <= queueAndListener; }));
}

class FTPLoad : public FTPTest {};

TEST_F(FTPLoad, AThousandPassivesLeaveNoListener) {
    serve();
    FTPClient client(port);
    client.loggedIn().passivePort();
    const auto before = test::openDescriptorCount();
    for (int i = 0; i < 500; ++i) {
        client.passivePort("PASV");
        client.openData();
    }
    EXPECT_TRUE(test::eventually([&] { return test::openDescriptorCount() <= before + 1; }));
}

TEST_F(FTPLoad, TwoHundredSessionsAtOnce) {
    const std::string content = test::patternedContent(300'000);
    folder.write("file", content);
    serve();
    std::vector<FTPClient> clients;
    for (int i = 0; i < 200; ++i)
        clients.emplace_back(port).loggedIn();
    std::vector<std::jthread> threads;
    for (std::size_t group = 0; group < 8; ++group)
        threads.emplace_back([&, group] {
            for (std::size_t i = group; i < clients.size(); i += 8) {
                EXPECT_EQ(clients[i].transfer("NLST"), "file\r\n");
                EXPECT_TRUE(clients[i].transfer("RETR file") == content);
            }
        });
}

} // namespace

} // namespace quorvel::ftp
