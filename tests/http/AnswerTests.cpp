#include "ServedFolder.h"

#include "http/IndexPage.h"

#include <sys/stat.h>

namespace quorvel::http {

namespace {

using namespace std::chrono_literals;
using test::ServedFolder;
using test::SocketClient;

std::string head(const std::string& status, const std::string& type, std::size_t length,
                 const std::string& extra) {
    return "HTTP/1.1 " + status + "\r\nContent-Type: " + type +
           "\r\nContent-Length: " + std::to_string(length) + "\r\n" + extra +
           "Connection: close\r\n\r\n";
}
std::string text(const std::string& status, const std::string& body,
                 const std::string& extra = {}) {
    return head(status, "text/plain; charset=utf-8", body.size(), extra) + body;
}
std::string redirectTo(const std::string& location) {
    return "HTTP/1.1 301 Moved Permanently\r\nLocation: " + location +
           "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
}

const std::string badRequest = text("400 Bad Request", "Bad Request");
const std::string unauthorized = text("401 Unauthorized", "Authentication required.",
                                      "WWW-Authenticate: Basic realm=\"Quorvel\"\r\n");
const std::string forbidden = text("403 Forbidden", "Forbidden");
const std::string notFound = text("404 Not Found", "Not Found");
const std::string notAllowed =
    text("405 Method Not Allowed", "Method Not Allowed", "Allow: GET, HEAD\r\n");
const std::string unsatisfiable =
    text("416 Range Not Satisfiable", "Range Not Satisfiable", "Content-Range: bytes */10\r\n");
const std::string cannotOpen = text("500 Internal Server Error", "Cannot open file");
const std::string partial = head("206 Partial Content", "text/plain; charset=utf-8", 3,
                                 "Accept-Ranges: bytes\r\nContent-Range: bytes 2-4/10\r\n");
const std::string rangeRequest = "GET /ten.txt HTTP/1.1\r\nRange: bytes=2-4\r\n\r\n";

/// A folder that holds one of everything.
class Answers : public testing::Test {
  protected:
    Answers() {
        folder_.write("ten.txt", "0123456789");
        folder_.write("empty.JPG");
        folder_.write(".hidden", "hidden");
        folder_.write("My Docs & #%😀/a b.txt", "spaced");
        folder_.makeFolder("docs/deep");
        folder_.link("passwd", "/etc/passwd");
        folder_.link("etc", "/etc");
        folder_.link("in", "docs");
        EXPECT_EQ(mkfifo(folder_.path("fifo.png").c_str(), 0600), 0);
    }

    const ServedFolder served_;
    const test::TemporaryFolder& folder_ = served_.folder;
};

TEST_F(Answers, HaveABodyForGetAndTheSameHeadForHead) {
    const auto page = [](const std::vector<platform::FolderEntry>& entries, const char* path) {
        const std::string body = indexPage(entries, path);
        return std::pair(head("200 OK", "text/html; charset=utf-8", body.size(), ""), body);
    };
    const auto file = [](const std::string& type, const std::string& body) {
        return std::pair(head("200 OK", type, body.size(), "Accept-Ranges: bytes\r\n"), body);
    };
    const std::string plain = "text/plain; charset=utf-8";
    const std::string folderName = folder_.path().substr(folder_.path().rfind('/'));
    const auto rootPage = page({{"docs", true},
                                {"empty.JPG"},
                                {"etc"},
                                {"fifo.png"},
                                {"in", true},
                                {"My Docs & #%😀", true},
                                {"passwd"},
                                {"ten.txt"}},
                               "/");
    struct Case {
        std::string target;
        std::pair<std::string, std::string> answer;
        std::string headers = {};
    };
    for (const auto& [target, answer, headers] :
         {Case{"/", rootPage}, Case{"?", rootPage},
          Case{"/in/?x=1", page({{"deep", true}}, "/in/")},
          Case{"/ten.txt", file(plain, "0123456789")},
          Case{"/ten.txt?query", file(plain, "0123456789"), "Range: items=1-2\r\n"},
          Case{"//docs//..//ten.txt/", file(plain, "0123456789")},
          Case{"/.." + folderName + "/ten.txt", file(plain, "0123456789")},
          Case{"/.hidden", file("application/octet-stream", "hidden")},
          Case{"/empty.JPG", file("image/jpeg", "")},
          Case{"/My%20Docs%20&%20%23%25%F0%9F%98%80/a%20b.txt", file(plain, "spaced")},
          Case{"/ten.txt", {partial, "234"}, "Range: bytes=2-4\r\n"},
          Case{"/ten.txt", {partial, "234"}, "Range: x\r\nRANGE :\tBytes= 2 - 4,7-8 \r\n"}}) {
        const std::string rest = " " + target + " HTTP/1.1\r\n" + headers + "\r\n";
        EXPECT_EQ(served_.exchange("GET" + rest), answer.first + answer.second) << target;
        EXPECT_EQ(served_.exchange("head" + rest), answer.first) << target;
    }
}

TEST_F(Answers, AreTheSameForGetAndHeadWhereThereIsNoFile) {
    using Group = std::pair<std::string, std::vector<std::string>>;
    const std::string spaced = "/My%20Docs%20&%20%23%25%F0%9F%98%80";
    for (const auto& [answer, targets] :
         {Group{redirectTo("/docs/"), {"/docs", "/docs?x=1", "//docs"}},
          Group{redirectTo(spaced + "/"), {spaced}}, Group{redirectTo("/docs%2F/"), {"/docs%2F"}},
          Group{redirectTo("/host/../"), {"//host/.."}},
          Group{redirectTo("/%5Chost/../"), {"/\\host/.."}},
          Group{redirectTo("/x%0ASet-Cookie:a=b/../"), {"/x\nSet-Cookie:a=b/.."}},
          Group{forbidden, {"/..", "/docs/../../etc", "/%2e%2e/", "/..%2fetc%2fpasswd", "/..%2F"}},
          Group{notFound,
                {"/none", "/%00", "/ten.txt%00.png", "/passwd", "/etc/passwd", "/etc/",
                 "/" + std::string(5000, 'x'), "http://host/ten.txt"}},
          Group{unsatisfiable, {"/ten.txt HTTP/1.1\r\nRange: bytes=10-\r\nX:"}},
          Group{cannotOpen, {"/fifo.png", "/fifo.png HTTP/1.1\r\nRange: bytes=10-\r\nX:"}}}) {
        for (const auto& target : targets) {
            const auto start = std::chrono::steady_clock::now();
            for (const std::string method : {"GET ", "HEAD "})
                EXPECT_EQ(served_.exchange(method + target + " HTTP/1.1\r\n\r\n"), answer)
                    << target;
            EXPECT_LT(std::chrono::steady_clock::now() - start, 5s) << target;
        }
    }
    for (const std::string line : {"GET", "\r\nGET / HTTP/1.1", "GET /\xFF HTTP/1.1", "  "})
        EXPECT_EQ(served_.exchange(line + "\r\n\r\n"), badRequest) << line;
    for (const std::string method : {"POST", "PUT", "DELETE", "OPTIONS", "G", "GET/"})
        EXPECT_EQ(served_.exchange(method + " /none HTTP/1.1\r\n\r\n"), notAllowed) << method;
}

TEST(Authentication, ComesAfterTheRequestLineAndBeforeAllElse) {
    const ServedFolder served(server::Credentials{"aladdin", "opén:sesame"});
    served.folder.write("a.txt", "content");
    const std::string right = "Basic YWxhZGRpbjpvcMOpbjpzZXNhbWU=";
    struct Case {
        std::string requestLine, authorization, end;
    };
    for (const auto& [requestLine, authorization, end] :
         {Case{"GET /a.txt", "\r\naUTHORIZATION: \t " + right + " \t", "content"},
          Case{"GET /a.txt", "\r\nAuthorization: x\r\nAuthorization:" + right, "content"},
          Case{"GET /a.txt", "", unauthorized}, Case{"HEAD /a.txt", "", unauthorized},
          Case{"GET /a.txt", "\r\nAuthorization: basic" + right.substr(5), unauthorized},
          Case{"GET /a.txt", "\r\nAuthorization: " + right + "=", unauthorized},
          Case{"POST /../x", "", unauthorized}, Case{"GET", "", badRequest},
          Case{"POST /../x", "\r\nAuthorization: " + right, notAllowed},
          Case{"GET /../x", "\r\nAuthorization: " + right, forbidden},
          Case{"GET /x", "\r\nAuthorization: " + right, notFound}})
        EXPECT_THAT(served.exchange(requestLine + authorization + "\r\n\r\n"),
                    testing::EndsWith(end))
            << requestLine << authorization;
}

TEST_F(Answers, DoNotDependOnHowTheHeadArrives) {
    for (std::size_t at = 1; at < rangeRequest.size(); ++at) {
        SocketClient client(served_.port);
        client.send(rangeRequest.substr(0, at));
        test::sleepFor(2ms);
        client.send(rangeRequest.substr(at));
        EXPECT_EQ(client.receiveAll(), partial + "234") << "split at " << at;
    }
    SocketClient slow(served_.port);
    for (const char c : rangeRequest) {
        slow.send({&c, 1});
        test::sleepFor(1ms);
    }
    EXPECT_EQ(slow.receiveAll(), partial + "234");
    EXPECT_EQ(served_.exchange(rangeRequest + rangeRequest + "more"), partial + "234");
    const std::string padding = "X: " + std::string(524'000, 'x') + "\r\n";
    EXPECT_EQ(served_.get("/ten.txt", "Range: bytes=2-4\r\n" + padding), partial + "234");
    SocketClient overIPv6(served_.port, "::1");
    overIPv6.send(rangeRequest);
    overIPv6.finishSending();
    EXPECT_EQ(overIPv6.receiveAll(), partial + "234");
}

TEST_F(Answers, ReachAClientThatIsStillSending) {
    const std::string post = "POST / HTTP/1.1\r\nContent-Length: 1000000\r\n\r\n";
    const std::string body(1'000'000, 'x');
    EXPECT_EQ(served_.exchange(post + body), notAllowed);
    SocketClient waiting(served_.port);
    waiting.send(post);
    EXPECT_EQ(waiting.receiveExactly(notAllowed.size()), notAllowed);
    EXPECT_TRUE(waiting.send(body));
    EXPECT_EQ(waiting.receiveAll(), "");
    EXPECT_FALSE(waiting.wasReset());
}

TEST_F(Answers, AreNotGivenToAHeadWithoutItsEnd) {
    EXPECT_EQ(served_.exchange(std::string(600'000, 'x')), "");
    EXPECT_EQ(served_.exchange("GET / HTTP/1.1\r\n" + std::string(600'000, '\n')), "");
    SocketClient leaving(served_.port);
    leaving.send("GET / HTTP/1.1\r\n");
    leaving.finishSending();
    EXPECT_EQ(leaving.receiveAll(), "");
}

} // namespace

} // namespace quorvel::http
