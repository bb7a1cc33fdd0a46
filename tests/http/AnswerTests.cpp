#include "http/IndexPage.h"
#include "http/ServedFolder.h"

#include <sys/stat.h>

namespace quorvel::http {

namespace {

using namespace std::chrono_literals;
using test::ServedFolder;
using test::SocketClient;
using testing::HasSubstr;
using testing::StartsWith;

const std::string close = "Connection: close\r\n\r\n";
const std::string plain = "Content-Type: text/plain; charset=utf-8\r\n";

const std::string badRequest =
    "HTTP/1.1 400 Bad Request\r\n" + plain + "Content-Length: 11\r\n" + close + "Bad Request";
const std::string unauthorized = "HTTP/1.1 401 Unauthorized\r\n" + plain +
                                 "Content-Length: 24\r\nWWW-Authenticate: Basic "
                                 "realm=\"Quorvel\"\r\n" +
                                 close + "Authentication required.";
const std::string forbidden =
    "HTTP/1.1 403 Forbidden\r\n" + plain + "Content-Length: 9\r\n" + close + "Forbidden";
const std::string notFound =
    "HTTP/1.1 404 Not Found\r\n" + plain + "Content-Length: 9\r\n" + close + "Not Found";
const std::string notAllowed = "HTTP/1.1 405 Method Not Allowed\r\n" + plain +
                               "Content-Length: 18\r\nAllow: GET, HEAD\r\n" + close +
                               "Method Not Allowed";
const std::string cannotOpen = "HTTP/1.1 500 Internal Server Error\r\n" + plain +
                               "Content-Length: 16\r\n" + close + "Cannot open file";
const std::string unsatisfiable = "HTTP/1.1 416 Range Not Satisfiable\r\n" + plain +
                                  "Content-Length: 21\r\nContent-Range: bytes */10\r\n" + close +
                                  "Range Not Satisfiable";
const std::string partial = "HTTP/1.1 206 Partial Content\r\n" + plain +
                            "Content-Length: 3\r\nAccept-Ranges: bytes\r\nContent-Range: bytes "
                            "2-4/10\r\n" +
                            close;

std::string redirectTo(const std::string& location) {
    return "HTTP/1.1 301 Moved Permanently\r\nLocation: " + location + "\r\nContent-Length: 0\r\n" +
           close;
}

std::string fileHead(const std::string& type, std::size_t length) {
    return "HTTP/1.1 200 OK\r\nContent-Type: " + type +
           "\r\nContent-Length: " + std::to_string(length) + "\r\nAccept-Ranges: bytes\r\n" + close;
}

/// What the HTTP layer answers in a folder that holds one of everything.
class Answers : public testing::Test {
  protected:
    Answers() {
        served_.folder.write("ten.txt", "0123456789");
        served_.folder.write("empty.JPG");
        served_.folder.write(".hidden", "hidden");
        served_.folder.write("My Docs & #%😀/a b.txt", "spaced");
        served_.folder.makeFolder("docs/deep");
        served_.folder.link("passwd", "/etc/passwd");
        served_.folder.link("etc", "/etc");
        served_.folder.link("in", "docs");
        EXPECT_EQ(mkfifo(served_.folder.path("fifo.png").c_str(), 0600), 0);
    }

    static std::string pageHead(const std::string& page) {
        return "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
               std::to_string(page.size()) + "\r\n" + close;
    }

    const ServedFolder served_;
};

TEST_F(Answers, AreExactForEveryStatusAndMethod) {
    const std::string rootPage = indexPage({{"docs", true},
                                            {"empty.JPG"},
                                            {"etc"},
                                            {"fifo.png"},
                                            {"in", true},
                                            {"My Docs & #%😀", true},
                                            {"passwd"},
                                            {"ten.txt"}},
                                           "/");
    const std::string docsPage = indexPage({{"deep", true}}, "/in/");
    const std::string text = "text/plain; charset=utf-8";
    const std::string none = "application/octet-stream";
    const auto& folder = served_.folder.path();
    const std::string folderName = folder.substr(folder.rfind('/'));
    struct Case {
        std::string target, headers, head, body;
        /// What is sent for HEAD as well.
        std::string bodyOfHead = {};
    };
    const auto same = [](const std::string& target, const std::string& answer,
                         const std::string& headers = {}) {
        const auto body = test::bodyOf(answer);
        return Case{target, headers, answer.substr(0, answer.size() - body.size()), body, body};
    };
    const Case cases[] = {
        {"/", "", pageHead(rootPage), rootPage},
        {"?", "", pageHead(rootPage), rootPage},
        {"/in/?x=1", "", pageHead(docsPage), docsPage},
        {"/ten.txt", "", fileHead(text, 10), "0123456789"},
        {"/ten.txt?query", "Range: items=1-2\r\n", fileHead(text, 10), "0123456789"},
        {"//docs//..//ten.txt/", "", fileHead(text, 10), "0123456789"},
        {"/.." + folderName + "/ten.txt", "", fileHead(text, 10), "0123456789"},
        {"/.hidden", "", fileHead(none, 6), "hidden"},
        {"/empty.JPG", "", fileHead("image/jpeg", 0), ""},
        {"/My%20Docs%20&%20%23%25%F0%9F%98%80/a%20b.txt", "", fileHead(text, 6), "spaced"},
        {"/ten.txt", "Range: bytes=2-4\r\n", partial, "234"},
        {"/ten.txt", "Range: bytes=0-\r\nRANGE :\tBytes= 2 - 4,7-8 \r\n", partial, "234"},
        same("/ten.txt", unsatisfiable, "Range: bytes=10-\r\n"),
        same("/docs", redirectTo("/docs/")),
        same("/docs?x=1", redirectTo("/docs/")),
        same("/My%20Docs%20&%20%23%25%F0%9F%98%80",
             redirectTo("/My%20Docs%20&%20%23%25%F0%9F%98%80/")),
        same("/docs%2F", redirectTo("/docs%2F/")),
        same("//host/..", redirectTo("/host/../")),
        same("/\\host/..", redirectTo("/%5Chost/../")),
        same("/docs/x\nSet-Cookie:a=b/..", redirectTo("/docs/x%0ASet-Cookie:a=b/../")),
        same("/..", forbidden),
        same("/docs/../../etc", forbidden),
        same("/%2e%2e/", forbidden),
        same("/..%2fetc%2fpasswd", forbidden),
        same("/..%2F..%2F", forbidden),
        same("/none", notFound),
        same("/%00", notFound),
        same("/ten.txt%00.png", notFound),
        same("/passwd", notFound),
        same("/etc/passwd", notFound),
        same("/etc/", notFound),
        same("/" + std::string(5000, 'x'), notFound),
        same("/" + std::string(300, 'x'), notFound),
        same("http://host/ten.txt", notFound),
        same("/fifo.png", cannotOpen),
        same("/fifo.png", cannotOpen, "Range: bytes=10-\r\n"),
    };
    for (const auto& [target, headers, head, body, bodyOfHead] : cases) {
        const std::string rest = " " + target + " HTTP/1.1\r\n" + headers + "\r\n";
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(served_.exchange("GET" + rest), head + body) << target;
        EXPECT_EQ(served_.exchange("head" + rest), head + bodyOfHead) << target;
        EXPECT_LT(std::chrono::steady_clock::now() - start, 5s) << target;
    }
    for (const std::string head : {"GET", "\r\nGET / HTTP/1.1", "GET /\xFF HTTP/1.1", "  "})
        EXPECT_EQ(served_.exchange(head + "\r\n\r\n"), badRequest) << head;
    for (const std::string method : {"POST", "PUT", "DELETE", "OPTIONS", "G", "GET/"})
        EXPECT_EQ(served_.exchange(method + " /none HTTP/1.1\r\n\r\n"), notAllowed) << method;
}

TEST(Authentication, ComesAfterTheRequestLineAndBeforeAllElse) {
    const ServedFolder served(server::Credentials{"aladdin", "opén:sesame"});
    served.folder.write("a.txt", "content");
    const std::string right = "Basic YWxhZGRpbjpvcMOpbjpzZXNhbWU=";
    struct Case {
        std::string requestLine, authorization, answer;
    };
    for (const auto& [requestLine, authorization, answer] :
         {Case{"GET /a.txt", "\r\naUTHORIZATION: \t " + right + " \t", "content"},
          {"GET /a.txt", "\r\nAuthorization: wrong\r\nAuthorization:" + right, "content"},
          {"GET /a.txt", "", unauthorized},
          {"HEAD /a.txt", "", unauthorized},
          {"GET /a.txt", "\r\nAuthorization: basic" + right.substr(5), unauthorized},
          {"GET /a.txt", "\r\nAuthorization: " + right + "=", unauthorized},
          {"GET /a.txt", "\r\nAuthorization: Basic", unauthorized},
          {"POST /../x", "", unauthorized},
          {"GET", "", badRequest},
          {"POST /../x", "\r\nAuthorization: " + right, notAllowed},
          {"GET /../x", "\r\nAuthorization: " + right, forbidden},
          {"GET /x", "\r\nAuthorization: " + right, notFound}})
        EXPECT_THAT(served.exchange(requestLine + authorization + "\r\n\r\n"),
                    testing::EndsWith(answer))
            << requestLine << authorization;
}

TEST_F(Answers, DoNotDependOnHowTheHeadArrives) {
    const std::string request = "GET /ten.txt HTTP/1.1\r\nRange: bytes=2-4\r\n\r\n";
    for (std::size_t at = 1; at < request.size(); ++at) {
        SocketClient client(served_.port);
        client.send(request.substr(0, at));
        test::sleepFor(2ms);
        client.send(request.substr(at));
        EXPECT_EQ(client.receiveAll(), partial + "234") << "split at " << at;
    }
    SocketClient slow(served_.port);
    for (const char c : request) {
        slow.send({&c, 1});
        test::sleepFor(1ms);
    }
    EXPECT_EQ(slow.receiveAll(), partial + "234");
    EXPECT_EQ(served_.exchange(request + request + "more"), partial + "234");
    const std::string padding = "X: " + std::string(524'000, 'x') + "\r\n";
    EXPECT_EQ(served_.get("/ten.txt", "Range: bytes=2-4\r\n" + padding), partial + "234");
}

TEST_F(Answers, ReachAClientThatIsStillSending) {
    for (const std::size_t body : {1UL, 100'000UL, 1'000'000UL}) {
        const std::string head =
            "POST / HTTP/1.1\r\nContent-Length: " + std::to_string(body) + "\r\n\r\n";
        EXPECT_EQ(served_.exchange(head + std::string(body, 'x')), notAllowed);
        SocketClient waiting(served_.port);
        waiting.send(head);
        EXPECT_EQ(waiting.receiveExactly(notAllowed.size()), notAllowed);
        EXPECT_TRUE(waiting.send(std::string(body, 'x')));
        EXPECT_EQ(waiting.receiveAll(), "");
        EXPECT_FALSE(waiting.wasReset());
    }
    SocketClient halfClosed(served_.port);
    halfClosed.send("GET /ten.txt HTTP/1.1\r\nRange: bytes=2-4\r\n\r\n");
    halfClosed.finishSending();
    EXPECT_EQ(halfClosed.receiveAll(), partial + "234");
}

TEST_F(Answers, AreNotGivenToAHeadWithoutItsEnd) {
    EXPECT_EQ(served_.exchange(std::string(600'000, 'x')), "");
    EXPECT_EQ(served_.exchange("GET / HTTP/1.1\r\n" + std::string(600'000, '\n')), "");
    SocketClient leaving(served_.port);
    leaving.send("GET / HTTP/1.1\r\n");
    leaving.finishSending();
    EXPECT_EQ(leaving.receiveAll(), "");
    SocketClient patient(served_.port);
    patient.send("GET / HTTP/1.1\r\n" + std::string(400'000, 'x'));
    EXPECT_EQ(patient.receiveFor(200ms), "");
    patient.send("\r\n\r\n");
    EXPECT_THAT(patient.receiveAll(), StartsWith("HTTP/1.1 200 OK\r\n"));
}

TEST_F(Answers, AreTheSameOverIPv4AndIPv6) {
    for (const auto* const address : {"127.0.0.1", "::1"}) {
        SocketClient client(served_.port, address);
        client.send("GET /ten.txt HTTP/1.1\r\nRange: bytes=2-4\r\n\r\n");
        EXPECT_EQ(client.receiveAll(), partial + "234") << address;
    }
}

} // namespace

} // namespace quorvel::http
