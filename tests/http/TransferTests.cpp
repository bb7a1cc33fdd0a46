#include "HTTPFolder.h"

#include <sys/resource.h>
#include <unistd.h>

namespace quorvel::http {

using namespace std::chrono_literals;
using test::SocketClient;
using test::startAndWait;
using testing::StartsWith;

constexpr std::size_t MiB = 1 << 20;

static std::string bodyOf(const std::string& answer) {
    return answer.substr(answer.find("\r\n\r\n") + 4);
}

/// Has received its head.
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
        EXPECT_TRUE(bodyOf(served.get("/file")) == content) << size;
        if (size < 2) continue;
        EXPECT_TRUE(bodyOf(served.get("/file", "Range: bytes=1-\r\n")) == content.substr(1));
        EXPECT_TRUE(bodyOf(served.get("/file", "Range: bytes=-7\r\n")) == content.substr(size - 7));
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

/// Twenty stalled downloads and twenty unfinished heads.
static std::vector<SocketClient> busyClients(const HTTPFolder& served) {
    served.folder.writeSparse("big", 64 * MiB);
    std::vector<SocketClient> clients;
    for (int i = 0; i < 20; ++i) {
        clients.push_back(startDownload(served));
        clients.emplace_back(served.port).send("GET / HT");
    }
    return clients;
}

TEST(Stop, WithReleaseLeavesNothingBehind) {
    HTTPFolder served;
    auto clients = busyClients(served);
    served.server->stop();
    served.server.reset();
    for (auto& client : clients)
        EXPECT_LT(client.receiveAll().size(), 64 * MiB);
}

TEST(Stop, AloneLetsTransfersRunToTheirEndAndFreesThePort) {
    const HTTPFolder served;
    auto clients = busyClients(served);
    const auto next = HTTPFileServer::create(served.folder.path(), served.port, std::nullopt);
    EXPECT_EQ(startAndWait(*next), "That port is already in use.");
    EXPECT_EQ(startAndWait(*HTTPFileServer::create("/", 0, std::nullopt)), "Invalid port number.");
    served.server->stop();
    served.server->stop();
    const auto third = HTTPFileServer::create(served.folder.path(), served.port, std::nullopt);
    EXPECT_EQ(startAndWait(*third), "ready");
    EXPECT_EQ(clients[0].receiveAll().size(), 64 * MiB);
    clients[1].send("TP/1.1\r\n\r\n");
    EXPECT_THAT(clients[1].receiveAll(), StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(served.get("/"), StartsWith("HTTP/1.1 200 OK\r\n"));
    third->stop();
}

/// Lets only so many descriptors more be opened.
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
    const HTTPFolder served;
    served.folder.write("small", "quick");
    SocketClient accepted(served.port);
    test::sleepFor(500ms);
    const FewDescriptors none(0);
    accepted.send("GET /small HTTP/1.1\r\n\r\n");
    EXPECT_THAT(accepted.receiveAll(), testing::EndsWith("Cannot open file"));
}

TEST(OutOfDescriptors, MakesAStartFail) {
    const test::TemporaryFolder folder;
    for (rlim_t left = 0; left < 8; ++left) {
        std::atomic<bool> failed = left == 0;
        const test::NothingLeft nothingLeft;
        const auto server = HTTPFileServer::create(folder.path(), test::freePort(), std::nullopt);
        server->onError = [&](const auto& text) { failed = text == "Network error (EMFILE)."; };
        // One for the listener, then three for each thread.
        const FewDescriptors few(left);
        EXPECT_EQ(server->start().has_value(), left > 0);
        EXPECT_TRUE(test::eventually([&] { return failed.load(); })) << left;
    }
}

} // namespace quorvel::http
