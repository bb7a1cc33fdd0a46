#include "QueueHost.h"
#include "support/TemporaryFolder.h"

#include "platform/SharedFolder.h"

#include <sys/socket.h>

namespace quorvel::platform {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

std::shared_ptr<const OpenFile> fileHolding(const std::string& content) {
    const test::TemporaryFolder folder;
    folder.write("file", content);
    return *SharedFolder::open(*SharedFolder(folder.path()).find("file"));
}

TEST(Connection, CallsBackLaterThanTheCall) {
    Events events;
    ConnectionPair pair;
    pair.client->send("hello");
    pair.host.run([&] {
        pair.connection->onEnd(report(events, "ended"));
        pair.connection->receive(100, reportReceived(events));
        pair.connection->send("answer", report(events, "sent"));
        events.add("asked");
    });
    EXPECT_THAT(events.first(3), ElementsAre("asked", "sent ok", "hello"));
    pair.host.run([&] {
        pair.connection->cancel();
        pair.connection->send("too late", report(events, "sent"));
        pair.connection->receive(1, reportReceived(events));
        events.add("cancelled");
    });
    EXPECT_EQ(pair.client->receiveAll(), "answer");
    EXPECT_EQ(events.first(7).size(), 7U);
    pair.host.run([&] { pair.connection->send("later still", report(events, "sent")); });
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
    std::size_t texts = 0;
    std::size_t waiting = 0;
    pair.host.run([&] {
        for (std::size_t i = 0; i < 20; ++i) {
            const std::string text(i * i * 100, static_cast<char>('a' + i));
            const auto more = i % 2 == 0 ? MoreToSend::yes : MoreToSend::no;
            pair.connection->send(text, report(events, "text"), more);
            pair.connection->sendFile(
                file, static_cast<std::int64_t>(i), i * 14000,
                [&](std::error_code error, std::size_t) { events.add("file ", error); }, more);
            pair.connection->send("<");
            pair.connection->send(">");
            texts += text.size() + 2;
            expected += text + content.substr(i, i * 14000) + "<>";
        }
        pair.connection->finish(report(events, "finish"));
        waiting = pair.connection->bytesWaiting();
    });
    EXPECT_GT(waiting, 0U);
    EXPECT_LE(waiting, texts) << "what waits of the files does not count";
    EXPECT_TRUE(pair.client->receiveAll() == expected);
    const auto all = events.first(41);
    ASSERT_EQ(all.size(), 41U);
    for (std::size_t i = 0; i < 40; i += 2)
        EXPECT_EQ(all[i] + all[i + 1], "text okfile ok");
    EXPECT_EQ(all.back(), "finish ok");
    pair.host.run([&] { EXPECT_EQ(pair.connection->bytesWaiting(), 0U); });
}

TEST(Connection, TellsHowMuchOfAFileItSent) {
    const auto file = fileHolding("0123456789");
    Events events;
    ConnectionPair pair;
    const auto tell = [&](std::error_code error, std::size_t count) {
        events.add(std::to_string(count) + " ", error);
    };
    pair.host.run([&] {
        pair.connection->sendFile(file, 4, 3, tell);
        pair.connection->sendFile(file, 8, 100, tell, MoreToSend::yes);
        pair.connection->sendFile(file, 10, 100, tell, MoreToSend::yes);
        pair.connection->finish();
    });
    EXPECT_EQ(pair.client->receiveAll(), "45689");
    EXPECT_THAT(events.first(3), ElementsAre("3 ok", "2 ok", "0 ok"));
}

TEST(Connection, CancelDeliversWhatWasSentWhileThePeerStillSends) {
    const std::string reply = test::patternedContent(100'000);
    for (const auto& [before, after] :
         {std::pair{0UL, 0UL}, std::pair{10UL, 0UL}, std::pair{0UL, 3'000'000UL},
          std::pair{3'000'000UL, 10UL}}) {
        SCOPED_TRACE(std::to_string(before) + " bytes before, " + std::to_string(after) + " after");
        ConnectionPair pair;
        auto sending = std::async(std::launch::async, [&, count = before] {
            return pair.client->send(std::string(count, 'b'));
        });
        if (before <= 10) sending.wait();
        const auto input = after > 0 ? PeerInput::expected : PeerInput::done;
        pair.host.run([&] {
            pair.connection->send(
                reply, [self = pair.connection, input](std::error_code) { self->cancel(input); });
        });
        EXPECT_TRUE(sending.get());
        EXPECT_TRUE(pair.client->send(std::string(after, 'a')));
        EXPECT_TRUE(pair.client->receiveAll() == reply);
        EXPECT_FALSE(pair.client->wasReset());
    }
}

TEST(Connection, CancelReportsToPendingHandlersAndLetsGoOfThem) {
    Events events;
    ConnectionPair pair;
    const std::weak_ptr<Connection> weak = pair.connection;
    pair.host.run([&] {
        // Each handler owns what owns it, as a session's do.
        const auto self = std::move(pair.connection);
        self->onEnd([self, &events](std::error_code error) { events.add("end ", error); });
        self->receive(1, [self, &events](const Received& got) { events.add("got ", got.error); });
        self->send(std::string(20'000'000, 'x'),
                   [self, &events](std::error_code error) { events.add("send ", error); });
    });
    pair.host.run([&] { weak.lock()->cancel(); });
    EXPECT_THAT(events.first(3), ElementsAre("send ECANCELED", "got ECANCELED", "end ok"));
    EXPECT_TRUE(test::eventually([&] { return weak.expired(); }));
}

TEST(Connection, TellsAResetFromAnEndOfStream) {
    for (const bool isReset : {false, true}) {
        Events events;
        ConnectionPair pair;
        pair.host.run([&] {
            pair.connection->onEnd(report(events, "ended"));
            pair.connection->receive(10, reportReceived(events));
        });
        if (isReset) {
            const linger atOnce{1, 0};
            setsockopt(pair.client->descriptor(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
            pair.client->close();
            EXPECT_THAT(events.first(2), ElementsAre("received ECONNRESET", "ended ECONNRESET"));
        } else {
            pair.client->finishSending();
            EXPECT_THAT(events.first(1), ElementsAre("end of stream"));
            pair.host.run([&] { pair.connection->send("still here"); });
            EXPECT_EQ(pair.client->receiveExactly(10), "still here");
        }
    }
}

TEST(Connection, ReleasingAnIdleOneClosesIt) {
    Events events;
    ConnectionPair pair;
    pair.host.run([&] { pair.connection->receive(10, reportReceived(events)); });
    test::sleepFor(20ms);
    pair.client->send("x");
    EXPECT_THAT(events.first(1), ElementsAre("x"));
    pair.host.run([&] { pair.connection.reset(); });
    EXPECT_EQ(pair.client->receiveAll(), "");
}

} // namespace

} // namespace quorvel::platform
