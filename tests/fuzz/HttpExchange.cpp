#include "FakeNetwork.h"
#include "Fuzz.h"
#include "FuzzFolder.h"

#include "http/HTTPFileServer.h"

using namespace quorvel;

/// The bytes of a connection; byte 1 ends a segment.
void test::fuzz(std::string_view input) {
    const auto server = http::HTTPFileServer::create(test::fuzzFolder(), 8080, std::nullopt);
    FUZZ_EXPECT(server->start());
    auto client = test::FakeListener::newest.lock()->connect();
    while (!input.empty())
        client->deliver(test::takePart(input, '\1'));
    client->deliver({}, true);
    server->stop();

    const std::string_view answer = client->sent;
    const auto headEnd = answer.find("\r\n\r\n");
    FUZZ_EXPECT(answer.empty() || (answer.starts_with("HTTP/1.1 ") && headEnd != answer.npos &&
                                   answer.substr(0, headEnd).ends_with("Connection: close")));
    FUZZ_EXPECT(!answer.contains(test::fuzzSecret));
    client.reset();
    test::runTasks();
    FUZZ_EXPECT(test::FakeConnection::alive == 0);
}
