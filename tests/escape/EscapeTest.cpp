#include "support/SocketClient.h"
#include "support/TemporaryFolder.h"

#include "ftp/FTPFixture.h"
#include "http/HTTPFileServer.h"
#include "platform/Confinement.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/openat2.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<bool> firstWallStands = true;

} // namespace

// The linker sends every syscall() of this program here: without the first wall, openat2 resolves
// paths as plain open does.
extern "C" long __real_syscall(long number, long, long, long, long, long, long);
extern "C" long __wrap_syscall(long number, long a, long b, long c, long d, long e, long f) {
    if (number == SYS_openat2 && !firstWallStands) {
        open_how how = *reinterpret_cast<const open_how*>(c);
        how.resolve = 0;
        return __real_syscall(number, a, b, reinterpret_cast<long>(&how), d, e, f);
    }
    return __real_syscall(number, a, b, c, d, e, f);
}

namespace quorvel::test {

namespace {

constexpr auto secret = "nobody may read this";

/// A share with a link to a file and to a folder outside, served with the walls that stand.
class Escape : public testing::Test {
  protected:
    Escape() {
        outside_.write("secret.txt", secret);
        share_.write("inside.txt", "shared");
        share_.link("file", outside_.path("secret.txt"));
        share_.link("folder", outside_.path());
    }

    ~Escape() override {
        firstWallStands = true;
        platform::setConfinementEnabled(true);
        stop();
    }

    template <class Server>
    void serve() {
        if (server_) return;
        port_ = freePort();
        server_ = Server::create(share_.path(), port_, std::nullopt);
        EXPECT_TRUE(server_->start());
    }
    void stop() {
        if (server_) server_->stop();
        server_.reset();
    }

    std::string get(const std::string& path) {
        serve<http::HTTPFileServer>();
        SocketClient client(port_);
        client.send("GET " + path + " HTTP/1.1\r\n\r\n");
        return client.receiveAll();
    }

    /// The reply, or what a transfer brings when one begins.
    std::string ask(const std::string& command) {
        serve<ftp::FTPFileServer>();
        ftp::FTPClient client(port_);
        SocketClient data = client.loggedIn().openData();
        const std::string reply = client.ask(command);
        return reply.starts_with("150") ? data.receiveAll() : reply;
    }

    TemporaryFolder outside_;
    TemporaryFolder share_;
    std::shared_ptr<server::FolderServer> server_;
    std::uint16_t port_ = 0;
};

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

long connectTo(std::uint16_t port) {
    const platform::Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto address = loopback(port);
    return connect(socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

long bindTo(std::uint16_t port) {
    const platform::Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto address = loopback(port);
    return bind(socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

bool confinementWorks() {
    return platform::supportedConfinement() != platform::ConfinementLevel::none;
}

} // namespace

TEST_F(Escape, theSecondWallHoldsWhereTheFirstIsMissing) {
    if (!confinementWorks()) GTEST_SKIP() << "this kernel has no Landlock";
    firstWallStands = false;
    EXPECT_THAT(get("/inside.txt"), testing::EndsWith("shared"));
    EXPECT_THAT(get("/file"), testing::EndsWith("Cannot open file"));
    EXPECT_THAT(get("/folder/secret.txt"), testing::EndsWith("Cannot open file"));
    EXPECT_THAT(get("/folder/"), testing::Not(testing::HasSubstr("secret")));
}

TEST_F(Escape, theSecondWallHoldsForFtpWhereTheFirstIsMissing) {
    if (!confinementWorks()) GTEST_SKIP() << "this kernel has no Landlock";
    firstWallStands = false;
    EXPECT_EQ(ask("RETR inside.txt"), "shared"); // over a listener made by a confined thread
    EXPECT_EQ(ask("RETR file"), "550 File not found.\r\n");
    EXPECT_EQ(ask("RETR folder/secret.txt"), "550 File not found.\r\n");
    EXPECT_EQ(ask("LIST folder"), "");
    EXPECT_EQ(ask("NLST folder"), "");
    // The limit of this wall: the size of a file is no content to Landlock.
    EXPECT_EQ(ask("SIZE file"), "213 " + std::to_string(std::string_view(secret).size()) + "\r\n");
}

TEST_F(Escape, theFirstWallHoldsWhereTheSecondIsMissing) {
    platform::setConfinementEnabled(false);
    EXPECT_THAT(get("/inside.txt"), testing::EndsWith("shared"));
    EXPECT_THAT(get("/file"), testing::EndsWith("Not Found"));
    EXPECT_THAT(get("/folder/secret.txt"), testing::EndsWith("Not Found"));
}

TEST_F(Escape, theFirstWallHoldsForFtpWhereTheSecondIsMissing) {
    platform::setConfinementEnabled(false);
    EXPECT_EQ(ask("RETR inside.txt"), "shared");
    EXPECT_EQ(ask("RETR file"), "550 File not found.\r\n");
    EXPECT_EQ(ask("SIZE file"), "550 Could not get file size.\r\n");
    EXPECT_EQ(ask("MDTM folder/secret.txt"), "550 Could not get modification time.\r\n");
    EXPECT_EQ(ask("LIST folder"), "550 No such file or directory.\r\n");
    EXPECT_EQ(ask("CWD folder"), "550 Failed to change directory.\r\n");
}

TEST_F(Escape, isRealWithoutBoth) {
    platform::setConfinementEnabled(false);
    firstWallStands = false;
    EXPECT_THAT(get("/file"), testing::EndsWith(secret));
    EXPECT_THAT(get("/folder/"), testing::HasSubstr("secret.txt"));
    stop();
    EXPECT_EQ(ask("RETR file"), secret);
    EXPECT_EQ(ask("NLST folder"), "secret.txt\r\n");
}

TEST_F(Escape, aFolderMadeAnewIsServedOnlyByTheNextStart) {
    if (!confinementWorks()) GTEST_SKIP() << "this kernel has no Landlock";
    EXPECT_THAT(get("/inside.txt"), testing::EndsWith("shared"));
    std::filesystem::remove_all(share_.path());
    EXPECT_THAT(get("/inside.txt"), testing::EndsWith("Not Found"));
    share_.write("inside.txt", "new");
    EXPECT_THAT(get("/inside.txt"), testing::EndsWith("Cannot open file"));
    stop();
    EXPECT_THAT(get("/inside.txt"), testing::EndsWith("new"));
}

TEST_F(Escape, aConfinedThreadChangesNothingAndReachesNobody) {
    if (!confinementWorks()) GTEST_SKIP() << "this kernel has no Landlock";
    const std::string inside = share_.path("inside.txt");
    const std::string other = share_.path("other");
    get("/inside.txt"); // something that could be connected to

    std::promise<std::vector<std::string>> outcome;
    const auto queue = platform::WorkQueue::serial("test", platform::confinementTo(share_.path()));
    queue->post([&] {
        std::vector<std::string> allowed;
        const auto expectDenied = [&](const char* what, long result) {
            if (result >= 0) allowed.emplace_back(what);
        };
        expectDenied("read outside", open("/etc/passwd", O_RDONLY));
        expectDenied("read through a link", open(share_.path("file").c_str(), O_RDONLY));
        expectDenied("list outside", open("/", O_RDONLY | O_DIRECTORY));
        expectDenied("write", open(inside.c_str(), O_WRONLY));
        expectDenied("append", open(inside.c_str(), O_RDWR | O_APPEND));
        expectDenied("create", open(other.c_str(), O_CREAT | O_WRONLY, 0600));
        expectDenied("make a folder", mkdir(other.c_str(), 0700));
        expectDenied("make a link", symlink("inside.txt", other.c_str()));
        expectDenied("make a FIFO", mkfifo(other.c_str(), 0600));
        expectDenied("rename", rename(inside.c_str(), other.c_str()));
        expectDenied("remove", unlink(inside.c_str()));
        if (platform::supportedConfinement() >= platform::ConfinementLevel::filesAndNetwork) {
            expectDenied("truncate", truncate(inside.c_str(), 0));
            expectDenied("connect", connectTo(port_));
            expectDenied("bind to a port", bindTo(freePort()));
            if (bindTo(0) < 0) allowed.emplace_back("not even a bind to port 0");
        }
        if (platform::supportedConfinement() >= platform::ConfinementLevel::filesNetworkAndSignals)
            expectDenied("signal", kill(getppid(), 0));
        outcome.set_value(allowed);
    });
    EXPECT_THAT(outcome.get_future().get(), testing::IsEmpty());
    EXPECT_EQ(std::filesystem::file_size(inside), 6U);
}

} // namespace quorvel::test
