#include "support/TemporaryFolder.h"

#include "platform/ConnectionPair.h"
#include "platform/FaultyKernel.h"
#include "platform/Segments.h"
#include "platform/files/OpenFile.h"

#include <fcntl.h>

namespace quorvel::platform {

using testing::ElementsAre;

TEST(Connection, CallsBackLaterThanTheCallAndLetsGoOfItsHandlersAtTheEnd) {
    Events events;
    ConnectionPair pair;
    pair.client.send("hello");
    pair.run([&, self = pair.connection] {
        self->receive(100, events.addingReceived());
        self->send("answer", events.adding("sent"));
        events.add("asked");
    });
    EXPECT_THAT(events.all(3), ElementsAre("asked", "sent ok", "hello"));
    EXPECT_EQ(pair.client.receiveUntil("answer"), "answer");
    pair.run([&, self = pair.connection] {
        // The handler owns what owns it, as a session's does.
        self->receive(1, [self, tell = events.addingReceived()](auto& got) { tell(got); });
        self->send(std::string(20'000'000, 'x'), events.adding("waiting"));
    });
    pair.run([&] {
        pair.connection->cancel();
        pair.connection->send("too late", events.adding("too late"));
        events.add("cancelled");
    });
    EXPECT_EQ(events.all(7).size(), 7U);
    pair.run([&] { pair.connection->send("later still", events.adding("later")); });
    EXPECT_THAT(events.all(8),
                ElementsAre("asked", "sent ok", "hello", "cancelled", "waiting ECANCELED",
                            "too late ECANCELED", "received ECANCELED", "later ECANCELED"));
    const std::weak_ptr<Connection> weak = pair.connection;
    pair.run([&] { pair.connection.reset(); });
    EXPECT_TRUE(test::eventually([&] { return weak.expired(); }));
}

/// From a disk that tells what is cached, or from one that does not, whose files the pool sends.
static std::shared_ptr<const OpenFile> fileHolding(const std::string& content, bool isLocal) {
    const test::TemporaryFolder folder;
    folder.write("file", content);
    Descriptor file(open(folder.path("file").c_str(), O_RDONLY | O_CLOEXEC));
    return std::make_shared<const OpenFile>(std::move(file), Disk{1, isLocal}, FileVersion{});
}

/// Whether the disk is local, and what the kernel does.
class SentFile : public testing::TestWithParam<std::tuple<bool, test::Faults>> {};

INSTANTIATE_TEST_SUITE_P(
    Disk, SentFile,
    testing::Combine(testing::Bool(),
                     testing::Values(test::Faults{}, test::Faults{.bytesPerCall = 10'001},
                                     test::Faults{.isUncached = true},
                                     test::Faults{.bytesPerCall = 997, .isUncached = true})));

TEST_P(SentFile, KeepsTheOrderOfTheCallsAmongTexts) {
    const auto& [isLocal, faults] = GetParam();
    const std::string content = test::patternedContent(300'000);
    const auto file = fileHolding(content, isLocal);
    const test::FaultyKernel kernel(faults);
    Events events;
    ConnectionPair pair;
    std::string expected;
    std::vector<std::string> reports;
    std::size_t texts = 0;
    pair.run([&, self = pair.connection] {
        for (std::size_t i = 0; i < 20; ++i) {
            const std::string text(i * i * 100, static_cast<char>('a' + i));
            const std::string piece = content.substr(i * 5000, i * 14000);
            const auto more = i % 2 == 0 ? MoreToSend::yes : MoreToSend::no;
            const auto tell = [&](auto error, auto count) {
                events.adding(std::to_string(count))(error);
            };
            self->send(text, events.adding("text"), more);
            self->sendFile(file, static_cast<std::int64_t>(i * 5000), i * 14000, tell, more);
            self->send("<");
            self->send(">");
            texts += text.size() + 2;
            expected += text + piece + "<>";
            reports.insert(reports.end(), {"text ok", std::to_string(piece.size()) + " ok"});
        }
        self->send({}, [self](std::error_code) {
            EXPECT_EQ(self->bytesWaiting(), 0U);
            self->cancel();
        });
        EXPECT_GT(self->bytesWaiting(), 0U);
        EXPECT_LE(self->bytesWaiting(), texts) << "what waits of files does not count";
    });
    EXPECT_TRUE(pair.client.receiveAll() == expected);
    EXPECT_EQ(events.all(reports.size()), reports);
}

TEST(Connection, SendsInOneSegmentWhatFollowsAtOnce) {
    const auto file = fileHolding("file", true);
    // On a busy machine the kernel may lose patience with what is held back (tcp(7), TCP_CORK).
    EXPECT_TRUE(test::eventually([&] {
        ConnectionPair pair;
        pair.run([&file, self = pair.connection] {
            self->send("head, ", [](std::error_code) {}, MoreToSend::yes);
            self->sendFile(file, 0, 4, [](std::error_code, std::size_t) {}, MoreToSend::yes);
            self->send(", tail");
        });
        EXPECT_EQ(pair.client.receiveUntil("tail"), "head, file, tail");
        return test::segmentsReceived(pair.client.descriptor()) == 1;
    }));
}

TEST(Connection, KnowsTheAddressesOfBothEnds) {
    using Case = std::array<const char*, 2>;
    for (const auto& [address, localIPv4] : {Case{"127.0.0.1", "127.0.0.1"}, Case{"::1", "none"}}) {
        const ConnectionPair pair(address);
        EXPECT_EQ(pair.connection->peerAddress(), address);
        EXPECT_EQ(pair.connection->localIPv4Address().value_or("none"), localIPv4);
    }
}

TEST(Connection, CancelDeliversWhatWasSentWhileThePeerStillSends) {
    const std::string reply = test::patternedContent(100'000);
    for (const auto& [before, after] :
         {std::pair{0UL, 0UL}, {10UL, 0UL}, {0UL, 3'000'000UL}, {3'000'000UL, 10UL}}) {
        SCOPED_TRACE(std::to_string(before) + " bytes before, " + std::to_string(after) + " after");
        ConnectionPair pair;
        auto sending = std::async(std::launch::async, [&, count = before] {
            return pair.client.send(std::string(count, 'b'));
        });
        if (before <= 10) sending.wait();
        const auto input = after > 0 ? PeerInput::expected : PeerInput::done;
        pair.run([&, self = pair.connection] {
            self->send(reply, [self, input](std::error_code) { self->cancel(input); });
        });
        EXPECT_TRUE(sending.get());
        EXPECT_TRUE(pair.client.send(std::string(after, 'a')));
        EXPECT_TRUE(pair.client.receiveAll() == reply);
        EXPECT_FALSE(pair.client.wasReset());
    }
}

TEST(Connection, TellsAResetFromAnEndOfStreamAndClosesWhenItIsReleased) {
    for (const bool isReset : {false, true}) {
        Events events;
        ConnectionPair pair;
        pair.run([&] { pair.connection->receive(10, events.addingReceived()); });
        if (isReset) {
            const linger atOnce{1, 0};
            setsockopt(pair.client.descriptor(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
            pair.client.close();
            EXPECT_THAT(events.all(1), ElementsAre("received ECONNRESET"));
            continue;
        }
        pair.client.finishSending();
        EXPECT_THAT(events.all(1), ElementsAre("end of stream"));
        pair.run([&] { pair.connection->send("still here"); });
        EXPECT_EQ(pair.client.receiveUntil("here"), "still here");
        pair.run([&] { pair.connection.reset(); });
        EXPECT_EQ(pair.client.receiveAll(), "");
    }
}

} // namespace quorvel::platform
