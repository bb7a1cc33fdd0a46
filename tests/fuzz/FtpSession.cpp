#include "FakeNetwork.h"
#include "Fuzz.h"
#include "FuzzFolder.h"

#include "ftp/FTPFileServer.h"
#include "platform/text/Text.h"

using namespace quorvel;

/// The bytes of a control connection. In between, byte 1 ends a segment, 2 lets a client connect
/// to the data port, 3 lets it vanish, 4 lets the client read no replies and 5 read them again.
void test::fuzz(std::string_view input) {
    const auto server = ftp::FTPFileServer::create(test::fuzzFolder(), 2121, std::nullopt);
    FUZZ_EXPECT(server->start());
    const auto mainListener = test::FakeListener::newest.lock();
    auto control = mainListener->connect();
    std::shared_ptr<test::FakeConnection> client;
    while (!input.empty()) {
        const auto segment = input.substr(0, input.find_first_of("\1\2\3\4\5"));
        input.remove_prefix(segment.size());
        control->deliver(segment);
        const char event = input.empty() ? '\1' : input.front();
        input.remove_prefix(input.empty() ? 0 : 1);
        const auto listener = test::FakeListener::newest.lock();
        if (event == '\2' && listener && listener != mainListener) client = listener->connect();
        if (event == '\3' && client) client->vanish();
        if (event == '\4' || event == '\5') control->setReading(event == '\5');
        test::runTasks();
        FUZZ_EXPECT(!client || !client->sent.contains(test::fuzzSecret));
    }
    control->deliver({}, true);
    control->setReading(true);
    test::runTasks();
    FUZZ_EXPECT(platform::isValidUtf8(control->sent));
    for (std::string_view replies = control->sent; !replies.empty();) {
        const auto line = test::takePart(replies);
        FUZZ_EXPECT(line.ends_with('\r') && (line[0] == ' ' || (line[0] >= '1' && line[0] <= '5')));
    }
    control.reset();
    client.reset();
    FUZZ_EXPECT(test::FakeConnection::alive == 0);
    server->stop();
    test::runTasks();
}
