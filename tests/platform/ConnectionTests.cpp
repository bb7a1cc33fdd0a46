#include "QueueHost.h"
#include "support/TemporaryFolder.h"

#include "platform/SharedFolder.h"

#include <sys/socket.h>

namespace quorvel::platform {

using testing::ElementsAre;

static std::shared_ptr<const OpenFile> fileHolding(const std::string& content) {
    const test::TemporaryFolder folder;
    folder.write("file", content);
    return *SharedFolder::open(*SharedFolder(folder.path()).find("file"));
}

TEST(Connection, CallsBackLaterThanTheCall) {
    Events events;
    ConnectionPair pair;
    pair.client.send("hello");
    pair.run([&] {
        pair.connection->onEnd(events.adding("ended"));
        pair.connection->receive(100, events.addingReceived());
        pair.connection->send("answer", events.adding("sent"));
        events.add("asked");
    });
    EXPECT_THAT(events.first(3), ElementsAre("asked", "sent ok", "hello"));
    pair.run([&] {
        pair.connection->cancel();
        pair.connection->send("too late", events.adding("sent"));
        pair.connection->receive(1, events.addingReceived());
        events.add("cancelled");
    });
    EXPECT_EQ(pair.client.receiveAll(), "answer");
    EXPECT_EQ(events.first(7).size(), 7U);
    pair.run([&] { pair.connection->send("later still", events.adding("sent")); });
    EXPECT_THAT(events.first(8),
                ElementsAre("asked", "sent ok", "hello", "cancelled", "sent ECANCELED",
                            "received ECANCELED", "ended ok", "sent ECANCELED"));
}

TEST(Connection, SendsInTheOrderOfTheCallsWhateverTheyCarry) {
    const std::string content = test::patternedContent(300'000);
    const auto file = fileHolding(content);
    Events events;
    ConnectionPair pair;
    std::string expected;
    std::vector<std::string> reports;
    pair.run([&] {
        std::size_t texts = 0;
        for (std::size_t i = 0; i < 20; ++i) {
            const std::string text(i * i * 100, static_cast<char>('a' + i));
            const std::string piece = content.substr(i * 5000, i * 14000);
            const auto more = i % 2 == 0 ? MoreToSend::yes : MoreToSend::no;
            const auto tell = [&](std::error_code error, std::size_t count) {
                events.adding(std::to_string(count))(error);
            };
            pair.connection->send(text, events.adding("text"), more);
            pair.connection->sendFile(file, static_cast<std::int64_t>(i * 5000), i * 14000, tell,
                                      more);
            pair.connection->send("<");
            pair.connection->send(">");
            texts += text.size() + 2;
            expected += text + piece + "<>";
            reports.insert(reports.end(), {"text ok", std::to_string(piece.size()) + " ok"});
        }
        pair.connection->send({}, [&, self = pair.connection](std::error_code error) {
            events.adding("last")(error);
            self->cancel();
        });
        EXPECT_GT(pair.connection->bytesWaiting(), 0U);
        EXPECT_LE(pair.connection->bytesWaiting(), texts) << "what waits of files does not count";
    });
    EXPECT_TRUE(pair.client.receiveAll() == expected);
    reports.emplace_back("last ok");
    EXPECT_EQ(events.first(reports.size()), reports);
    pair.run([&] { EXPECT_EQ(pair.connection->bytesWaiting(), 0U); });
}

TEST(Connection, CancelDeliversWhatWasSentWhileThePeerStillSends) {
    const std::string reply = test::patternedContent(100'000);
    for (const auto& [before, after] :
         {std::pair{0UL, 0UL}, std::pair{10UL, 0UL}, std::pair{0UL, 3'000'000UL},
          std::pair{3'000'000UL, 10UL}}) {
        SCOPED_TRACE(std::to_string(before) + " bytes before, " + std::to_string(after) + " after");
        ConnectionPair pair;
        auto sending = std::async(std::launch::async, [&, count = before] {
            return pair.client.send(std::string(count, 'b'));
        });
        if (before <= 10) sending.wait();
        pair.run(
            [&, self = pair.connection, input = after > 0 ? PeerInput::expected : PeerInput::done] {
                self->send(reply, [self, input](std::error_code) { self->cancel(input); });
            });
        EXPECT_TRUE(sending.get());
        EXPECT_TRUE(pair.client.send(std::string(after, 'a')));
        EXPECT_TRUE(pair.client.receiveAll() == reply);
        EXPECT_FALSE(pair.client.wasReset());
    }
}

TEST(Connection, CancelReportsToPendingHandlersAndLetsGoOfThem) {
    Events events;
    ConnectionPair pair;
    const std::weak_ptr<Connection> weak = pair.connection;
    pair.run([&] {
        // Each handler owns what owns it, as a session's do.
        const auto self = std::move(pair.connection);
        self->onEnd([self, tell = events.adding("end")](auto error) { tell(error); });
        self->receive(1, [self, tell = events.adding("got")](auto& got) { tell(got.error); });
        self->send(std::string(20'000'000, 'x'),
                   [self, tell = events.adding("send")](auto error) { tell(error); });
    });
    pair.run([&] { weak.lock()->cancel(); });
    EXPECT_THAT(events.first(3), ElementsAre("send ECANCELED", "got ECANCELED", "end ok"));
    EXPECT_TRUE(test::eventually([&] { return weak.expired(); }));
}

TEST(Connection, TellsAResetFromAnEndOfStreamAndClosesWhenItIsReleased) {
    for (const bool isReset : {false, true}) {
        Events events;
        ConnectionPair pair;
        pair.run([&] {
            pair.connection->onEnd(events.adding("ended"));
            pair.connection->receive(10, events.addingReceived());
        });
        if (isReset) {
            const linger atOnce{1, 0};
            setsockopt(pair.client.descriptor(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
            pair.client.close();
            EXPECT_THAT(events.first(2), ElementsAre("received ECONNRESET", "ended ECONNRESET"));
            continue;
        }
        pair.client.finishSending();
        EXPECT_THAT(events.first(1), ElementsAre("end of stream"));
        pair.run([&] { pair.connection->send("still here"); });
        EXPECT_EQ(pair.client.receiveUntil("here"), "still here");
        pair.run([&] { pair.connection.reset(); });
        EXPECT_EQ(pair.client.receiveAll(), "");
    }
}

} // namespace quorvel::platform
