#include "ServedFolder.h"

#include <ctime>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quorvel::http {

namespace {

using namespace std::chrono_literals;
using platform::WorkQueue;
using test::bodyOf;
using test::eventually;
using test::ServedFolder;
using test::SocketClient;
using testing::HasSubstr;
using testing::StartsWith;

constexpr std::int64_t MiB = 1 << 20;

SocketClient startDownload(const ServedFolder& served, const std::string& name) {
    SocketClient client(served.port);
    client.send("GET /" + name + " HTTP/1.1\r\n\r\n");
    return client;
}

TEST(Transfer, BringsEveryByteOfWhatWasAskedFor) {
    const ServedFolder served;
    for (const std::size_t size : {0UL, 1UL, 16384UL, 16385UL, 262144UL, 262145UL, 5'000'000UL}) {
        const std::string content = test::patternedContent(size);
        served.folder.write("file", content);
        EXPECT_TRUE(bodyOf(served.get("/file")) == content) << size;
        if (size < 2) continue;
        EXPECT_TRUE(bodyOf(served.get("/file", "Range: bytes=1-\r\n")) == content.substr(1));
        EXPECT_TRUE(bodyOf(served.get("/file", "Range: bytes=-7\r\n")) == content.substr(size - 7));
    }
}

TEST(Transfer, ReachesIntoAFileOfMoreThan4GiB) {
    const ServedFolder served;
    const auto path = served.folder.writeSparse("film.mkv", 5'368'721'465);
    const std::string mark = test::patternedContent(300'000);
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(4'294'966'296);
    file << mark << std::flush;
    const auto answer = served.get("/film.mkv", "Range: bytes=4294966296-4295266295\r\n");
    EXPECT_THAT(answer.substr(0, 300),
                HasSubstr("Content-Range: bytes 4294966296-4295266295/5368721465\r\n"));
    EXPECT_TRUE(bodyOf(answer) == mark);
    EXPECT_EQ(bodyOf(served.get("/film.mkv", "Range: bytes=-500\r\n")), std::string(500, '\0'));
    EXPECT_THAT(served.get("/film.mkv", "Range: bytes=5368721465-\r\n"),
                HasSubstr("Content-Range: bytes */5368721465\r\n"));
}

TEST(Transfer, EndsEarlyWhenTheFileShrinksAndOnTimeWhenItGrows) {
    const ServedFolder served;
    const auto shrinking = served.folder.writeSparse("shrinking", 64 * MiB);
    auto client = startDownload(served, "shrinking");
    const std::string head = client.receiveUntil("\r\n\r\n");
    EXPECT_THAT(head, HasSubstr("Content-Length: 67108864\r\n"));
    std::filesystem::resize_file(shrinking, 1000);
    EXPECT_LT(client.receiveAll().size(), 67108864U);
    EXPECT_FALSE(client.wasReset());

    const auto growing = served.folder.writeSparse("growing", 32 * MiB);
    auto second = startDownload(served, "growing");
    second.receiveUntil("\r\n\r\n");
    std::filesystem::resize_file(growing, 64 * MiB);
    EXPECT_EQ(second.receiveAll().size(), 32U * MiB);
}

TEST(Transfer, OfSlowReadersDelaysNobody) {
    const ServedFolder served;
    served.folder.writeSparse("big", 64 * MiB);
    served.folder.write("small", "quick");
    std::vector<SocketClient> readers;
    for (int i = 0; i < 100; ++i) {
        readers.emplace_back(served.port).shrinkReceiveBuffer();
        readers.back().send("GET /big HTTP/1.1\r\n\r\n");
    }
    for (auto& reader : readers)
        EXPECT_THAT(reader.receiveUntil("\r\n"), StartsWith("HTTP/1.1 200 OK"));
    for (int i = 0; i < 20; ++i) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(bodyOf(served.get("/small")), "quick");
        EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
    }
}

TEST(Transfer, LeavesNoDescriptorBehind) {
    const ServedFolder served;
    served.folder.write("small", "quick");
    served.folder.write("big", test::patternedContent(300'000));
    const std::string requests[] = {"GET /small", "GET /big", "HEAD /big",  "GET /",
                                    "GET /none",  "POST /",   "GET /../..", "nonsense"};
    const auto ask = [&](int count) {
        for (int i = 0; i < count; ++i) {
            SocketClient client(served.port);
            client.send(requests[i % 8] + (i % 16 < 8 ? " HTTP/1.1\r\n\r\n" : "\r\n\r\n"));
            // Every third client does not wait for its answer.
            if (i % 3 == 0) continue;
            EXPECT_THAT(client.receiveAll(), StartsWith("HTTP/1.1 "));
        }
        test::sleepFor(200ms);
    };
    // Afterwards every thread of the server has what it needs itself.
    ask(200);
    const auto before = test::openDescriptorCount();
    ask(2000);
    EXPECT_TRUE(eventually([&] { return test::openDescriptorCount() <= before; }));
}

/// Twenty stalled downloads and twenty unfinished heads.
std::vector<SocketClient> busyClients(const ServedFolder& served) {
    served.folder.writeSparse("big", 64 * MiB);
    std::vector<SocketClient> clients;
    for (int i = 0; i < 20; ++i) {
        clients.push_back(startDownload(served, "big"));
        EXPECT_THAT(clients.back().receiveUntil("\r\n"), StartsWith("HTTP/1.1 200"));
        clients.emplace_back(served.port).send("GET / HT");
    }
    return clients;
}

TEST(Stop, WithReleaseLeavesNothingBehind) {
    const auto descriptors = test::openDescriptorCount();
    const auto threads = test::threadCount();
    {
        ServedFolder served;
        auto clients = busyClients(served);
        served.release();
        for (auto& client : clients)
            EXPECT_LT(client.receiveAll().size(), 64U * MiB);
    }
    EXPECT_EQ(test::openDescriptorCount(), descriptors);
    EXPECT_TRUE(eventually([&] { return test::threadCount() <= threads; }));
}

TEST(Stop, AloneLetsTransfersRunToTheirEndAndFreesThePort) {
    const ServedFolder served;
    auto clients = busyClients(served);
    served.server->stop();
    served.server->stop();
    const auto next = HTTPFileServer::create(served.folder.path(), served.port, std::nullopt);
    EXPECT_EQ(test::startAndWait(*next), "ready");
    clients[0].receiveUntil("\r\n\r\n");
    EXPECT_EQ(clients[0].receiveAll().size(), 64U * MiB);
    clients[1].send("TP/1.1\r\n\r\n");
    EXPECT_THAT(clients[1].receiveAll(), StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(served.get("/"), StartsWith("HTTP/1.1 200 OK\r\n"));
    next->stop();
}

TEST(Start, SaysWhatIsWrong) {
    const ServedFolder served;
    const auto start = [&](std::uint16_t port) {
        return test::startAndWait(
            *HTTPFileServer::create(served.folder.path(), port, std::nullopt));
    };
    EXPECT_EQ(start(served.port), "That port is already in use.");
    EXPECT_EQ(start(0), "Invalid port number.");
    EXPECT_THAT(served.get("/"), StartsWith("HTTP/1.1 200 OK\r\n")) << "the first goes on";
}

/// Lets only so many descriptors more be opened.
class FewDescriptors {
  public:
    explicit FewDescriptors(rlim_t count) {
        getrlimit(RLIMIT_NOFILE, &before_);
        const platform::Descriptor firstFree(dup(STDERR_FILENO));
        const auto used = static_cast<rlim_t>(firstFree.number());
        const rlimit lowered{used + count, before_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &lowered);
    }
    ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }

  private:
    rlimit before_{};
};

TEST(OutOfDescriptors, IsWaitedOutWithoutSpinning) {
    const ServedFolder served;
    served.folder.write("small", "quick");
    SocketClient accepted(served.port);
    test::sleepFor(500ms);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(served.port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const platform::Descriptor waiting(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    std::array<char, 12> answer{};
    {
        const FewDescriptors none(0);
        ASSERT_EQ(connect(waiting.number(), reinterpret_cast<sockaddr*>(&address), sizeof address),
                  0);
        const std::string request = "GET /small HTTP/1.1\r\n\r\n";
        EXPECT_EQ(send(waiting.number(), request.data(), request.size(), 0),
                  static_cast<ssize_t>(request.size()));
        const auto processorTime = clock();
        test::sleepFor(1s);
        EXPECT_LT(clock() - processorTime, CLOCKS_PER_SEC / 5);
        EXPECT_EQ(recv(waiting.number(), answer.data(), answer.size(), MSG_DONTWAIT), -1);
        accepted.send(request);
        EXPECT_THAT(accepted.receiveAll(), testing::EndsWith("Cannot open file"));
    }
    EXPECT_EQ(recv(waiting.number(), answer.data(), answer.size(), MSG_WAITALL), 12);
    // The one that was answered left a descriptor: with it the waiting one may have been taken
    // before there were more, and then there was none for its file.
    EXPECT_THAT(std::string(answer.data(), 12), testing::AnyOf("HTTP/1.1 200", "HTTP/1.1 500"));
    EXPECT_EQ(bodyOf(served.get("/small")), "quick");
}

TEST(OutOfDescriptors, MakesAStartFail) {
    const test::TemporaryFolder folder;
    for (rlim_t left = 0; left < 8; ++left) {
        std::atomic<bool> failed = false;
        auto server = HTTPFileServer::create(folder.path(), test::freePort(), std::nullopt);
        server->onError = [&](const std::string& message) {
            failed = message == "Network error (EMFILE).";
        };
        {
            // One for the listener, then three for each thread.
            const FewDescriptors few(left);
            EXPECT_EQ(server->start().has_value(), left > 0);
            EXPECT_TRUE(left == 0 || eventually([&] { return failed.load(); })) << left;
        }
        server.reset();
        EXPECT_TRUE(WorkQueue::waitUntilAllEnded(5s));
    }
}

} // namespace

} // namespace quorvel::http
