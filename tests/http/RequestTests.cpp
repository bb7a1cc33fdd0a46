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
    for (const auto& [head, method, target, authorization, range] :
         {Case{"GET / HTTP/1.1", "GET", "/"}, Case{"get /a", "GET", "/a"},
          Case{"  HEAD    /a?b=c   HTTP/1.1 more words", "HEAD", "/a?b=c"},
          Case{"straße /é", "STRASSE", "/é"}, Case{"GET\t/a /b", "GET\t/A", "/b"},
          Case{"GET /a\nRange: bytes=0-1", "GET", "/a\nRange:"},
          Case{
              "GET / HTTP/1.1\r\nRange: bytes=0-1\r\nrange:bytes=2-3", "GET", "/", {}, "bytes=2-3"},
          Case{"GET /\r\n\t AUTHORIZATION \u00A0:\u00A0 Basic a:b \t", "GET", "/", "Basic a:b"},
          Case{"GET /\r\nno colon\r\n: no name\r\nRange\r\nX-Range: 1", "GET", "/"},
          Case{"GET /\r\nRange:\r\nAuthorization: x\nRange: y", "GET", "/", "x\nRange: y", ""}}) {
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
    using Pair = std::pair<std::string, std::string>;
    for (const auto& [raw, location] :
         {Pair{"/docs", "/docs/"}, Pair{"/My%20Docs", "/My%20Docs/"}, Pair{"docs", "docs/"},
          Pair{"//host/..", "/host/../"}, Pair{"////host/%2e%2e", "/host/%2e%2e/"},
          Pair{"/\\host/..", "/%5Chost/../"}, Pair{"/a//b", "/a//b/"}, Pair{"/é", "/é/"},
          Pair{"/\t/host/..", "/%09/host/../"}, Pair{"/a\r\x7F\x1F", "/a%0D%7F%1F/"},
          Pair{"/a\nSet-Cookie:x", "/a%0ASet-Cookie:x/"}})
        EXPECT_EQ(redirectLocation(raw), location);
}

TEST(ByteRange, IsTheFirstOneCutToTheFile) {
    const auto parsed = [](std::string_view value, std::int64_t size) -> std::string {
        const auto range = parseRange(value, size);
        return range ? std::to_string(range->first) + "-" + std::to_string(range->last) : "none";
    };
    using Pair = std::pair<std::string_view, std::string_view>;
    for (const auto& [value, range] :
         {Pair{"bytes=0-0", "0-0"}, Pair{"bytes=5-", "5-9"}, Pair{"bytes=-3", "7-9"},
          Pair{"bytes=-20", "0-9"}, Pair{"bytes=2-100", "2-9"}, Pair{"bytes=9-9", "9-9"},
          Pair{"bytes=0-1,5-6", "0-1"}, Pair{"bytes=,,4-5,", "4-5"}, Pair{"BYTES=1-2", "1-2"},
          Pair{"bytes= 2 - 4", "2-4"}, Pair{"bytes=\u00A02\t-\u30004", "2-4"},
          Pair{"bytes=+2-4", "2-4"}, Pair{"bytes=-+3", "7-9"}, Pair{"bytes=007-8", "7-8"},
          Pair{"bytes=0-9223372036854775807", "0-9"}, Pair{"bytes=-9223372036854775807", "0-9"}})
        EXPECT_EQ(parsed(value, 10), range) << value;
    for (const auto* const value : {"bytes=10-",
                                    "bytes=10-12",
                                    "bytes=5-3",
                                    "bytes=-0",
                                    "bytes=abc",
                                    "bytes=-",
                                    "bytes=",
                                    "bytes=,",
                                    "bytes=5",
                                    "bytes=a-5",
                                    "bytes=1-b",
                                    "bytes=1-2-3",
                                    "bytes=--3",
                                    "bytes=5--3",
                                    "bytes=0--1",
                                    "bytes=1 2-3",
                                    "bytes=x-1,2-3",
                                    "bytes=0-9223372036854775808",
                                    "bytes=99999999999999999999-",
                                    "bytes=-9223372036854775808",
                                    "items=1-2",
                                    " bytes=1-2"})
        EXPECT_EQ(parsed(value, 10), "none") << value;
    EXPECT_EQ(parsed("bytes=0-", INT64_MAX), "0-9223372036854775806");
    EXPECT_EQ(parsed("bytes=-1", INT64_MAX), "9223372036854775806-9223372036854775806");
    for (const std::int64_t size : {0, -1})
        EXPECT_EQ(parsed("bytes=0-0", size) + parsed("bytes=-1", size), "nonenone");
    EXPECT_TRUE(isByteRange("bYtEs=nonsense"));
    EXPECT_FALSE(isByteRange("bytes"));
}

} // namespace

} // namespace quorvel::http
