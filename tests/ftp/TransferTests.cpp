#include "ftp/FTPFixture.h"
#include "server/LocalAddress.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorvel::ftp {

namespace {

using test::SocketClient;

constexpr auto listingStarts = "150 Here comes the directory listing.\r\n";
constexpr auto listingReplies =
    "150 Here comes the directory listing.\r\n226 Directory send OK.\r\n";
constexpr auto failed = "426 Transfer failed.\r\n";
constexpr std::size_t bigSize = 64 << 20;

std::string repliesFor(const std::string& name) {
    return "150 Opening data connection for " + name + ".\r\n226 Transfer complete.\r\n";
}

void setModified(const std::string& path, std::int64_t time) {
    const timespec times[2] = {{time, 0}, {time, 0}};
    utimensat(AT_FDCWD, path.c_str(), times, 0);
}

class FTPTransfers : public FTPTest {
  protected:
    FTPClient& loggedIn() {
        serve();
        return client.emplace(port).loggedIn();
    }
    /// A download that the client does not read yet.
    SocketClient stalledDownload() {
        folder.writeSparse("big", bigSize);
        SocketClient data = client->openData();
        EXPECT_EQ(client->ask("RETR big"), "150 Opening data connection for big.\r\n");
        return data;
    }
    void TearDown() override {
        client.reset();
        FTPTest::TearDown();
    }
    std::optional<FTPClient> client;
};

TEST_F(FTPTransfers, ListingsToTheByte) {
    setenv("TZ", "XXX-05:30", 1);
    tzset();
    for (const auto* const name : {"b.txt", "A.txt", "file10", "file2", ".hidden", "a \xff\"b"})
        setModified(folder.write(std::string("docs/") + name, "12345"), 1709789400);
    folder.link("docs/out", "/etc");
    folder.link("docs/up", "../empty");
    setModified(folder.makeFolder("empty"), 0);
    const std::string file = "-rw-r--r-- 1 owner group            5 Mar 07 11:00 ";
    const std::string lines = file + "a \xff\"b\r\n" + file + "A.txt\r\n" + file + "b.txt\r\n" +
                              file + "file2\r\n" + file +
                              "file10\r\n-rw-r--r-- 1 owner group            0 Jan 01 05:30 out\r\n"
                              "drwxr-xr-x 1 owner group            0 Jan 01 05:30 up\r\n";
    loggedIn();
    for (const auto& [command, text] : std::vector<std::pair<std::string, std::string>>{
             {"LIST -la docs extra", lines},
             {"NLST docs", "a \xff\"b\r\nA.txt\r\nb.txt\r\nfile2\r\nfile10\r\nout\r\nup\r\n"},
             {"NLST /docs/.hidden", ".hidden\r\n"},
             {"LIST docs/up/../b.txt -l", file + "b.txt\r\n"},
             {"LIST empty", ""},
             {"NLST ../..", "docs\r\nempty\r\n"},
         }) {
        EXPECT_EQ(client->transfer(command), text) << command;
        EXPECT_EQ(client->replies, listingReplies) << command;
    }
}

TEST_F(FTPTransfers, AFolderThatCannotBeReadIsEmpty) {
    folder.write("closed/file");
    chmod(folder.path().c_str(), 0755);
    chmod(folder.path("closed").c_str(), 0);
    const uid_t user = geteuid();
    ASSERT_TRUE(user != 0 || seteuid(65534) == 0);
    loggedIn();
    EXPECT_EQ(client->ask("CWD closed"), "250 Directory changed to /closed\r\n");
    EXPECT_EQ(client->transfer("LIST"), "");
    EXPECT_EQ(client->replies, listingReplies);
    ASSERT_EQ(seteuid(user), 0);
    chmod(folder.path("closed").c_str(), 0700);
    prctl(PR_SET_DUMPABLE, 1); // The change of user took it; the leak checker needs it.
}

TEST_F(FTPTransfers, DownloadsToTheByte) {
    loggedIn();
    for (const std::size_t size : {0UL, 1UL, 262'144UL, 262'145UL, 3'000'000UL}) {
        const std::string content = test::patternedContent(size);
        const std::string name = "f " + std::to_string(size);
        folder.write(name, content);
        for (const std::size_t offset : {0UL, size / 2, size, size + 1, std::size_t{INT64_MAX}}) {
            client->ask("REST " + std::to_string(offset));
            const std::string expected = content.substr(std::min(offset, size));
            EXPECT_TRUE(client->transfer("RETR " + name) == expected) << name << " at " << offset;
            EXPECT_EQ(client->replies, repliesFor(name));
        }
    }
    client->ask("REST 1");
    EXPECT_EQ(client->ask("RETR none"), "550 File not found.\r\n");
    EXPECT_EQ(client->transfer("RETR f 1").size(), 1) << "a RETR that fails uses the offset up";

    const std::int64_t size = 5'368'709'120;
    const int film = open(folder.writeSparse("film", size).c_str(), O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(pwrite(film, "the end", 7, size - 7), 7);
    close(film);
    EXPECT_EQ(client->ask("SIZE film"), "213 5368709120\r\n");
    client->ask("REST 5368709113");
    EXPECT_EQ(client->transfer("RETR film"), "the end");
}

TEST_F(FTPTransfers, DataConnectionMayComeBeforeOrAfterTheCommand) {
    folder.write("a");
    loggedIn();
    for (const auto* const passive : {"PASV", "EPSV", "EPSV ALL", "EPSV 1"}) {
        // Without a port, and after the transfer that used it, the command waits in silence.
        client->send("LIST\r\n");
        EXPECT_EQ(client->ask("NOOP"), "200 OK\r\n");
        const auto dataPort = client->passivePort(passive);
        client->send("RETR a\r\nNLST\r\n");
        EXPECT_EQ(client->ask("NOOP"), "200 OK\r\n") << "the later command replaces the earlier";
        EXPECT_EQ(SocketClient(dataPort).receiveAll(), "a\r\n");
        EXPECT_EQ(client->receiveUntil("OK.\r\n"), listingReplies);
    }
    // A further PASV closes what the one before opened, and drops the command that waits.
    SocketClient replaced = client->openData();
    client->passivePort();
    client->send("LIST\r\n");
    const auto last = client->passivePort("PASV");
    EXPECT_EQ(replaced.receiveAll(), "");
    SocketClient data(last);
    EXPECT_EQ(SocketClient(last).receiveAll(), "") << "the first connection wins";
    EXPECT_EQ(client->ask("NLST", "OK.\r\n"), listingReplies);
    EXPECT_EQ(data.receiveAll(), "a\r\n");
}

TEST_F(FTPTransfers, PassiveModeAnnouncesTheAddressTheClientReached) {
    serve();
    for (const std::string address : {"127.0.0.1", "127.0.0.2", "::1"}) {
        FTPClient other(port, address);
        auto announced = address == "::1" ? server::localIPv4Address() : address;
        std::string expected = "425 Can't open data connection.\r\n";
        if (announced) {
            std::ranges::replace(*announced, '.', ',');
            expected = "227 Entering Passive Mode (" + *announced + ",";
        }
        EXPECT_TRUE(other.loggedIn().ask("PASV").starts_with(expected)) << address;
        EXPECT_EQ(other.transfer("NLST"), "") << address;
    }
}

TEST_F(FTPTransfers, ASecondTransferLeavesTheFirstAlone) {
    loggedIn();
    SocketClient data = stalledDownload();
    EXPECT_EQ(client->ask("LIST"), "425 No data connection.\r\n");
    EXPECT_EQ(client->ask("RETR big"), "425 No data connection.\r\n");
    EXPECT_EQ(client->ask("NLST none"), "550 No such file or directory.\r\n");
    EXPECT_EQ(client->ask("ABOR"), "200 OK\r\n");
    EXPECT_EQ(truncate(folder.path("big").c_str(), bigSize + 1), 0);
    EXPECT_EQ(data.receiveAll().size(), bigSize + 1) << "what was added meanwhile is sent too";
    EXPECT_EQ(client->receiveUntil("\r\n"), "226 Transfer complete.\r\n");
}

TEST_F(FTPTransfers, ATransferThatIsCutLeavesTheNextAlone) {
    loggedIn();
    SocketClient cut = stalledDownload();
    EXPECT_EQ(client->ask("NOOP\r\nEPSV", failed), "200 OK\r\n426 Transfer failed.\r\n");
    client->receiveUntil("|)\r\n");
    EXPECT_LT(cut.receiveAll().size(), bigSize);
    stalledDownload().close();
    EXPECT_EQ(client->receiveUntil("\r\n"), failed);
    EXPECT_EQ(client->transfer("RETR big").size(), bigSize);
}

} // namespace

} // namespace quorvel::ftp
