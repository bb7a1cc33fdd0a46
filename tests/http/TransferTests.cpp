#include "support/ServedFolder.h"

#include "http/HTTPFileServer.h"

#include <sys/resource.h>
#include <unistd.h>

namespace quorvel::http {

using test::SocketClient;
using test::startAndWait;
using testing::StartsWith;
using HTTPFolder = test::ServedFolder<HTTPFileServer>;

constexpr std::size_t MiB = 1 << 20;

/// A download whose head has been received.
static SocketClient startDownload(const HTTPFolder& served) {
    SocketClient client(served.port);
    client.send("GET /big HTTP/1.1\r\n\r\n");
    EXPECT_THAT(client.receiveUntil("\r\n\r\n"), StartsWith("HTTP/1.1 200 OK"));
    return client;
}

TEST(Transfer, BringsEveryByteOfWhatWasAskedFor) {
    const HTTPFolder served;
    for (const std::size_t size : {0UL, 1UL, 16384UL, 16385UL, 262144UL, 262145UL, 5'000'000UL}) {
        const std::string content = test::patternedContent(size);
        served.folder.write("file", content);
        const auto expectFrom = [&](std::size_t first, const std::string& range) {
            const auto answer = served.exchange("GET /file\r\nRange: " + range + "\r\n\r\n");
            const auto body = answer.substr(answer.find("\r\n\r\n") + 4);
            EXPECT_TRUE(body == content.substr(first)) << range << " of " << size;
        };
        expectFrom(0, "none");
        if (size < 2) continue;
        expectFrom(1, "bytes=1-");
        expectFrom(size - 7, "bytes=-7");
    }
}

TEST(Transfer, EndsEarlyWhenTheFileShrinksAndOnTimeWhenItGrows) {
    const HTTPFolder served;
    for (const std::size_t size : {std::size_t{1000}, 64 * MiB}) {
        const auto file = served.folder.writeSparse("big", 32 * MiB);
        auto client = startDownload(served);
        std::filesystem::resize_file(file, size);
        const std::size_t received = client.receiveAll().size();
        EXPECT_TRUE(size > 32 * MiB ? received == 32 * MiB : received < 32 * MiB) << size;
        EXPECT_FALSE(client.wasReset());
    }
}

TEST(Transfer, IsNotCutByWhatItsClientSendsMeanwhile) {
    const HTTPFolder served;
    const std::string rest(50'000, 'y'); // the kernel buffers it
    served.folder.write("big", std::string(300'000, 'x') + '!' + rest);
    auto client = startDownload(served);
    client.limitBuffer(8192);
    client.receiveUntil("!");
    client.waitUntilFinished();
    EXPECT_TRUE(client.send("GET / HTTP/1.1\r\n\r\n"));
    client.waitUntilTaken();
    EXPECT_TRUE(client.receiveAll() == rest);
    EXPECT_FALSE(client.wasReset());
}

TEST(Stop, FreesThePortAndWithReleaseEndsTransfersToo) {
    EXPECT_EQ(startAndWait(*HTTPFileServer::create("/", 0, std::nullopt)), "Invalid port number.");
    for (const bool releases : {false, true}) {
        HTTPFolder served;
        served.folder.writeSparse("big", 64 * MiB);
        std::vector<SocketClient> downloads;
        std::vector<SocketClient> heads;
        for (int i = 0; i < 5; ++i) {
            downloads.push_back(startDownload(served));
            heads.emplace_back(served.port).send("GET / HT");
            heads.back().waitUntilTaken();
        }
        const auto early = HTTPFileServer::create(served.folder.path(), served.port, std::nullopt);
        EXPECT_EQ(startAndWait(*early), "That port is already in use.");
        served.server->stop();
        served.server->stop();
        const auto next = HTTPFileServer::create(served.folder.path(), served.port, std::nullopt);
        EXPECT_EQ(startAndWait(*next), "ready");
        EXPECT_THAT(served.exchange("GET /\r\n\r\n"), StartsWith("HTTP/1.1 200 OK\r\n"));
        if (releases) served.server.reset();
        for (auto& download : downloads)
            EXPECT_EQ(download.receiveAll().size() == 64 * MiB, !releases);
        for (auto& head : heads) {
            head.send("TP/1.1\r\n\r\n");
            EXPECT_EQ(head.receiveAll().empty(), releases);
        }
    }
}

/// Limits how many more descriptors may be opened.
class FewDescriptors {
  public:
    explicit FewDescriptors(rlim_t count) {
        getrlimit(RLIMIT_NOFILE, &before_);
        const platform::Descriptor firstFree(dup(STDERR_FILENO));
        const rlimit lowered{static_cast<rlim_t>(firstFree.number()) + count, before_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &lowered);
    }
    ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }

  private:
    rlimit before_{};
};

TEST(OutOfDescriptors, NoFileIsSaidToBeMissing) {
    // The last lookup needs the folder, the directory of the name and its stream.
    for (const rlim_t left : {0UL, 1UL, 2UL, 3UL}) {
        const HTTPFolder served;
        served.folder.write("\xFF", "quick");
        SocketClient accepted(served.port);
        accepted.send("GET /%EF%BF%BD HTTP/1.1\r\n");
        accepted.waitUntilTaken();
        const FewDescriptors few(left);
        accepted.send("\r\n");
        const std::string body = accepted.receiveAll();
        EXPECT_TRUE(body.ends_with("Cannot open file") || (left > 0 && body.ends_with("quick")))
            << body;
    }
}

TEST(OutOfDescriptors, MakesAStartFail) {
    const test::TemporaryFolder folder;
    for (rlim_t left = 0; left < 3; ++left) {
        std::atomic<bool> failed = left == 0;
        const test::NothingLeft nothingLeft;
        const auto descriptors = test::countOf("fd");
        const auto server = HTTPFileServer::create(folder.path(), test::freePort(), std::nullopt);
        // The thread has one until it is confined.
        EXPECT_TRUE(test::eventually([&] { return test::countOf("fd") == descriptors; }));
        server->onError = [&](const auto& text) { failed = text == "Network error (EMFILE)."; };
        // One for the listener, then two for the loop.
        const FewDescriptors few(left);
        EXPECT_EQ(server->start().has_value(), left > 0);
        EXPECT_TRUE(test::eventually([&] { return failed.load(); })) << left;
    }
}

} // namespace quorvel::http
