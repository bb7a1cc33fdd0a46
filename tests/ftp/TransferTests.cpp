#include "ftp/FTPFixture.h"
#include "server/LocalAddress.h"

#include <algorithm>

namespace quorvel::ftp {

using test::SocketClient;

const std::string listed = "150 Here comes the directory listing.\r\n226 Directory send OK.\r\n";
const std::string failed = "426 Transfer failed.\r\n";
constexpr std::size_t bigSize = 64 << 20;

static std::string startOf(const std::string& name) {
    return "150 Opening data connection for " + name + ".\r\n";
}
static std::string loaded(const std::string& name, const std::string& content) {
    return startOf(name) + "226 Transfer complete.\r\n" + content;
}

class FTPTransfers : public testing::Test, protected FTPFolder {
  protected:
    /// A download that the client does not read yet.
    SocketClient stalledDownload() {
        SocketClient data = client.openData();
        EXPECT_EQ(client.ask("RETR big"), startOf("big"));
        return data;
    }

    const std::string big = folder.writeSparse("big", bigSize);
    FTPClient client = std::move(FTPClient(port).loggedIn());
};

TEST_F(FTPTransfers, ListingsToTheByte) {
    setenv("TZ", "XXX-05:30", 1);
    tzset();
    const auto setModified = [](const std::string& path, std::int64_t time) {
        const std::chrono::sys_seconds date{std::chrono::seconds(time)};
        std::filesystem::last_write_time(path, std::chrono::file_clock::from_sys(date));
    };
    for (const auto* const name : {"b.txt", "A.txt", "file10", "file2", ".hidden", "a \xff\"b"})
        setModified(folder.write(std::string("docs/") + name, "12345"), 1709789400);
    folder.link("docs/out", "/etc");
    folder.link("docs/up", "../empty");
    setModified(folder.makeFolder("empty"), 0);
    const std::string file = "-rw-r--r-- 1 owner group            5 Mar 07 11:00 ";
    const std::string lines = file + "a \uFFFD\"b\r\n" + file + "A.txt\r\n" + file + "b.txt\r\n" +
                              file + "file2\r\n" + file +
                              "file10\r\n-rw-r--r-- 1 owner group            0 Jan 01 05:30 out\r\n"
                              "drwxr-xr-x 1 owner group            0 Jan 01 05:30 up\r\n";
    for (const auto& [command, text] : std::initializer_list<std::pair<std::string, std::string>>{
             {"LIST -la docs extra", lines},
             {"NLST docs", "a \uFFFD\"b\r\nA.txt\r\nb.txt\r\nfile2\r\nfile10\r\nout\r\nup\r\n"},
             {"NLST /docs/.hidden", ".hidden\r\n"},
             {"LIST docs/up/../b.txt -l", file + "b.txt\r\n"},
             {"LIST empty", ""},
             {"NLST ../..", "big\r\ndocs\r\nempty\r\n"}})
        EXPECT_EQ(client.transfer(command), listed + text) << command;
}

TEST_F(FTPTransfers, DownloadsToTheByte) {
    for (const std::size_t size : {0UL, 1UL, 262'144UL, 262'145UL, 3'000'000UL}) {
        const std::string content = test::patternedContent(size);
        const std::string name = "f " + std::to_string(size);
        folder.write(name, content);
        for (const std::size_t offset : {0UL, size / 2, size, size + 1, std::size_t{INT64_MAX}}) {
            client.ask("REST " + std::to_string(offset));
            const std::string expected = loaded(name, content.substr(std::min(offset, size)));
            EXPECT_TRUE(client.transfer("RETR " + name) == expected) << name << " at " << offset;
        }
    }
    client.ask("REST 1");
    EXPECT_EQ(client.ask("RETR none"), "550 File not found.\r\n");
    EXPECT_EQ(client.transfer("RETR f 1").size(), loaded("f 1", "x").size()) << "no offset is left";

    folder.writeSparse("film", 5'368'709'120);
    EXPECT_EQ(client.ask("SIZE film"), "213 5368709120\r\n");
}

TEST_F(FTPTransfers, NameThatIsNotUtf8IsItsText) {
    folder.write("caf\xE9/na\xEFve/\xFF.txt", "12345");
    folder.link("caf\xE9/na\xEFve/\xFE", "../../caf\xE9");
    const std::string path = "caf\uFFFD/na\uFFFDve/\uFFFD";
    EXPECT_EQ(client.transfer("RETR " + path + ".txt"), loaded("\uFFFD.txt", "12345"));
    EXPECT_EQ(client.transfer("NLST " + path + ".txt"), listed + "\uFFFD.txt\r\n");
    EXPECT_EQ(client.ask("CWD " + path + "/na\uFFFDve"),
              "250 Directory changed to /" + path + "/na\uFFFDve\r\n");
    EXPECT_EQ(client.ask("SIZE \uFFFD.txt"), "213 5\r\n");
    EXPECT_TRUE(client.ask("MDTM \uFFFD.txt").starts_with("213 "));
    const std::string list = client.transfer("LIST");
    EXPECT_THAT(list, testing::HasSubstr("\ndrwxr-xr-x"));
    EXPECT_THAT(list, testing::HasSubstr(" \uFFFD.txt\r\n"));
    for (const std::string command : {"CWD ", "SIZE ", "MDTM ", "RETR ", "LIST "})
        EXPECT_TRUE(client.ask(command + "\uFFFD/none\uFFFD").starts_with("550 ")) << command;
}

TEST_F(FTPTransfers, DataConnectionMayComeBeforeOrAfterTheCommand) {
    for (const auto* const passive : {"PASV", "EPSV", "EPSV ALL", "EPSV 1"}) {
        // Without a data port, or once a transfer has used it, the command waits without a reply.
        client.send("LIST\r\n");
        EXPECT_EQ(client.ask("NOOP"), "200 OK\r\n");
        const auto dataPort = client.passivePort(passive);
        client.send("RETR big\r\nNLST\r\n");
        EXPECT_EQ(client.ask("NOOP"), "200 OK\r\n") << "the later command replaces the earlier";
        EXPECT_EQ(SocketClient(dataPort).receiveAll(), "big\r\n");
        EXPECT_EQ(client.receiveUntil("OK.\r\n"), listed);
    }
    // Another PASV closes what the previous one opened and drops the waiting command.
    SocketClient replaced = client.openData();
    client.passivePort();
    client.send("LIST\r\n");
    const auto last = client.passivePort("PASV");
    EXPECT_EQ(replaced.receiveAll(), "");
    SocketClient data(last);
    EXPECT_EQ(SocketClient(last).receiveAll(), "") << "the first connection wins";
    EXPECT_EQ(client.ask("NLST", "OK.\r\n"), listed);
    EXPECT_EQ(data.receiveAll(), "big\r\n");
}

TEST_F(FTPTransfers, PassiveModeAnnouncesTheAddressTheClientReached) {
    for (const std::string address : {"127.0.0.1", "127.0.0.2", "::1"}) {
        FTPClient other(port, address);
        auto announced = address == "::1" ? server::localIPv4Address() : address;
        std::string expected = "425 Can't open data connection.\r\n";
        if (announced) {
            std::ranges::replace(*announced, '.', ',');
            expected = "227 Entering Passive Mode (" + *announced + ",";
        }
        EXPECT_TRUE(other.loggedIn().ask("PASV").starts_with(expected)) << address;
        EXPECT_EQ(other.transfer("NLST"), listed + "big\r\n") << address;
    }
}

TEST_F(FTPTransfers, ASecondTransferLeavesTheFirstAlone) {
    SocketClient data = stalledDownload();
    EXPECT_EQ(client.ask("LIST"), "425 No data connection.\r\n");
    EXPECT_EQ(client.ask("RETR big"), "425 No data connection.\r\n");
    EXPECT_EQ(client.ask("NLST none"), "550 No such file or directory.\r\n");
    EXPECT_EQ(client.ask("ABOR"), "200 OK\r\n");
    std::filesystem::resize_file(big, bigSize + 1);
    EXPECT_EQ(data.receiveAll().size(), bigSize + 1) << "what was added meanwhile is sent too";
    EXPECT_EQ(client.receiveUntil("\r\n"), "226 Transfer complete.\r\n");
}

TEST_F(FTPTransfers, ATransferThatIsCutLeavesTheNextAlone) {
    SocketClient cut = stalledDownload();
    EXPECT_EQ(client.ask("NOOP\r\nEPSV", failed), "200 OK\r\n" + failed);
    client.receiveUntil("|)\r\n");
    EXPECT_LT(cut.receiveAll().size(), bigSize);
    stalledDownload().close();
    EXPECT_EQ(client.receiveUntil("\r\n"), failed);
    EXPECT_EQ(client.transfer("RETR big").size(), loaded("big", "").size() + bigSize);
}

TEST_F(FTPTransfers, QuitClosesItsSessionAlone) {
    FTPClient other(port);
    SocketClient data = stalledDownload();
    EXPECT_EQ(client.ask("QUIT"), "221 Goodbye.\r\n");
    EXPECT_EQ(client.receiveAll(), "");
    EXPECT_LT(data.receiveAll().size(), bigSize);
    EXPECT_EQ(other.ask("NOOP"), "200 OK\r\n");
}

/// One client for each kind of resource that a session may hold.
TEST(FTPStop, ClosesEverythingInEveryWay) {
    for (const auto& [stops, releases] : {std::pair{true, false}, {true, true}, {false, true}}) {
        FTPFolder served;
        served.folder.writeSparse("big", bigSize);
        std::vector<FTPClient> clients;
        for (int i = 0; i < 4; ++i)
            clients.emplace_back(served.port).loggedIn();
        clients[1].passivePort("PASV");
        clients[2].passivePort();
        clients[2].send("RETR big\r\n");
        SocketClient data = clients[3].openData();
        EXPECT_EQ(clients[3].ask("RETR big"), startOf("big"));
        if (stops) served.server->stop();
        if (releases) served.server.reset();
        EXPECT_LT(data.receiveAll().size(), bigSize);
        for (auto& client : clients)
            client.receiveAll();
        const auto next = FTPFileServer::create(served.folder.path(), served.port, std::nullopt);
        EXPECT_EQ(test::startAndWait(*next), "ready") << "the port is free";
        EXPECT_EQ(FTPClient(served.port).ask("NOOP"), "200 OK\r\n");
    }
}

} // namespace quorvel::ftp
