#include "http/ByteRange.h"
#include "http/PathMapping.h"
#include "http/RequestHead.h"

#include <gtest/gtest.h>

namespace quorvel::http {

namespace {

using Text = std::optional<std::string>;

TEST(RequestHead, IsReadLeniently) {
    struct Case {
        std::string_view head, method, target;
        Text authorization = {}, range = {};
    };
    const Case cases[] = {
        {"GET / HTTP/1.1", "GET", "/"},
        {"get /a", "GET", "/a"},
        {"  HEAD    /a?b=c   HTTP/1.1 more words", "HEAD", "/a?b=c"},
        {"straße /é", "STRASSE", "/é"},
        {"GET\t/a /b", "GET\t/A", "/b"},
        {"GET /a\nRange: bytes=0-1", "GET", "/a\nRange:"},
        {"GET / HTTP/1.1\r\nRange: bytes=0-1\r\nrange:bytes=2-3", "GET", "/", {}, "bytes=2-3"},
        {"GET /\r\n\t AUTHORIZATION \u00A0:\u00A0 Basic a:b \t", "GET", "/", "Basic a:b"},
        {"GET /\r\nno colon\r\n: no name\r\nRange\r\nX-Range: 1", "GET", "/"},
        {"GET /\r\nRange:\r\nAuthorization: x\nRange: y", "GET", "/", "x\nRange: y", ""},
    };
    for (const auto& [head, method, target, authorization, range] : cases) {
        SCOPED_TRACE(head);
        const auto request = parseRequestHead(head);
        ASSERT_TRUE(request);
        EXPECT_EQ(request->method, method);
        EXPECT_EQ(request->target, target);
        EXPECT_EQ(request->authorization, authorization);
        EXPECT_EQ(request->range, range);
    }
    for (const std::string_view bad : {"", "GET", "   ", " GET  ", "\r\nGET / HTTP/1.1",
                                       "GET\r\n/ HTTP/1.1", "GET /\xFF", "GET /\r\nX: \xC3("})
        EXPECT_FALSE(parseRequestHead(bad)) << bad;
    EXPECT_TRUE(parseRequestHead("POST /\r\nContent-Length: 5")->announcesBody);
    EXPECT_TRUE(parseRequestHead("POST /\r\nTRANSFER-ENCODING: chunked")->announcesBody);
    EXPECT_FALSE(parseRequestHead("GET /\r\nAccept: */*")->announcesBody);
}

TEST(Target, LosesItsQueryAndItsEscapes) {
    struct Case {
        std::string_view target, raw;
        std::string decoded;
    };
    for (const auto& [target, raw, decoded] :
         {Case{"/a?b", "/a", "/a"}, Case{"?a=b", "a=b", "a=b"}, Case{"?", "/", "/"},
          Case{"??", "/", "/"}, Case{"??a?b", "a", "a"}, Case{"/?", "/", "/"},
          Case{"/My%20Docs+1", "/My%20Docs+1", "/My Docs+1"}, Case{"/%3F%25", "/%3F%25", "/?%"},
          Case{"/%C3%A9", "/%C3%A9", "/é"}, Case{"/%FF%41", "/%FF%41", "/%FF%41"},
          Case{"/%4", "/%4", "/%4"}, Case{"/%2e%2E/x", "/%2e%2E/x", "/../x"},
          Case{"/%00", "/%00", std::string("/\0", 2)}}) {
        EXPECT_EQ(rawPath(target), raw) << target;
        EXPECT_EQ(decodedPath(raw), decoded) << target;
    }
}

TEST(PathMapping, StaysInTheRoot) {
    struct Case {
        const char *root, *path;
        Text location;
    };
    for (const auto& [root, path, location] :
         {Case{"/a/share", "/", "/a/share"}, Case{"/a/share", "", "/a/share"},
          Case{"/a/share", "/docs/", "/a/share/docs"}, Case{"/a/share", "x", "/a/share/x"},
          Case{"/a/share", "//etc//x", "/a/share/etc/x"}, Case{"/a/share", "/b/..", "/a/share"},
          Case{"/a/share", "/../share/x", "/a/share/x"}, Case{"/a/share", "/./.", "/a/share"},
          Case{"/a/share", "/..x/...", "/a/share/..x/..."}, Case{"/a/share", "/..", {}},
          Case{"/a/share", "/../share2", {}}, Case{"/a/share", "/docs/../../etc", {}},
          Case{"/a/share", "../../../../../a", {}},
          Case{"/a/share", "http://h/x", "/a/share/http:/h/x"}, Case{"/", "/", "/"},
          Case{"/", "/../../etc", "/etc"}, Case{"/", "/a", "/a"}})
        EXPECT_EQ(resolveRequestPath(root, path), location) << path;
}

TEST(PathMapping, RedirectsToThisHostOnly) {
    for (const auto& [raw, location] : {std::pair{"/docs", "/docs/"},
                                        {"/My%20Docs", "/My%20Docs/"},
                                        {"docs", "docs/"},
                                        {"//host/..", "/host/../"},
                                        {"////host/%2e%2e", "/host/%2e%2e/"},
                                        {"/\\host/..", "/%5Chost/../"},
                                        {"/a//b", "/a//b/"},
                                        {"/\t/host/..", "/%09/host/../"},
                                        {"/a\nSet-Cookie:x", "/a%0ASet-Cookie:x/"},
                                        {"/a\r\x7F\x1F", "/a%0D%7F%1F/"},
                                        {"/é", "/é/"}})
        EXPECT_EQ(redirectLocation(raw), location);
}

TEST(ByteRange, IsTheFirstOneCutToTheFile) {
    struct Case {
        std::string_view value;
        std::optional<ByteRange> range;
        std::int64_t size = 10;
    };
    constexpr std::int64_t huge = INT64_MAX;
    for (const auto& [value, range, size] : {Case{"bytes=0-0", {{0, 0}}},
                                             Case{"bytes=5-", {{5, 9}}},
                                             Case{"bytes=-3", {{7, 9}}},
                                             Case{"bytes=-20", {{0, 9}}},
                                             Case{"bytes=2-100", {{2, 9}}},
                                             Case{"bytes=9-9", {{9, 9}}},
                                             Case{"bytes=0-1,5-6", {{0, 1}}},
                                             Case{"bytes=,,4-5,", {{4, 5}}},
                                             Case{"BYTES=1-2", {{1, 2}}},
                                             Case{"bytes= 2 - 4", {{2, 4}}},
                                             Case{"bytes=\u00A02\t-\u30004", {{2, 4}}},
                                             Case{"bytes=+2-4", {{2, 4}}},
                                             Case{"bytes=-+3", {{7, 9}}},
                                             Case{"bytes=0-9223372036854775807", {{0, 9}}},
                                             Case{"bytes=-9223372036854775807", {{0, 9}}},
                                             Case{"bytes=007-8", {{7, 8}}},
                                             Case{"bytes=0-", {{0, huge - 1}}, huge},
                                             Case{"bytes=-1", {{huge - 1, huge - 1}}, huge},
                                             Case{"bytes=10-", {}},
                                             Case{"bytes=10-12", {}},
                                             Case{"bytes=5-3", {}},
                                             Case{"bytes=-0", {}},
                                             Case{"bytes=abc", {}},
                                             Case{"bytes=-", {}},
                                             Case{"bytes=", {}},
                                             Case{"bytes=,", {}},
                                             Case{"bytes=5", {}},
                                             Case{"bytes=a-5", {}},
                                             Case{"bytes=1-b", {}},
                                             Case{"bytes=1-2-3", {}},
                                             Case{"bytes=--3", {}},
                                             Case{"bytes=5--3", {}},
                                             Case{"bytes=0--1", {}},
                                             Case{"bytes=1 2-3", {}},
                                             Case{"bytes=x-1,2-3", {}},
                                             Case{"bytes=0-9223372036854775808", {}},
                                             Case{"bytes=99999999999999999999-", {}},
                                             Case{"bytes=-9223372036854775808", {}},
                                             Case{"items=1-2", {}},
                                             Case{" bytes=1-2", {}},
                                             Case{"bytes=0-0", {}, 0},
                                             Case{"bytes=-1", {}, 0},
                                             Case{"bytes=-1", {}, -1}})
        EXPECT_EQ(parseRange(value, size), range) << value;
    EXPECT_TRUE(isByteRange("bYtEs=nonsense"));
    EXPECT_FALSE(isByteRange("bytes"));
}

} // namespace

} // namespace quorvel::http
