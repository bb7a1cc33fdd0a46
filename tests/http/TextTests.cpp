#include "http/ByteRange.h"
#include "http/ContentType.h"
#include "http/IndexPage.h"
#include "http/PathMapping.h"
#include "http/RequestHead.h"

#include <gtest/gtest.h>
#include <sstream>

namespace quorvel::http {

using Text = std::optional<std::string>;
using Pair = std::pair<std::string, std::string>;

TEST(RequestHead, IsReadLeniently) {
    struct Case {
        std::string_view head, method, target;
        Text authorization = {}, range = {};
        bool announcesBody = false;
    };
    for (const auto& [head, method, target, authorization, range, announcesBody] :
         {Case{"GET / HTTP/1.1", "GET", "/"}, Case{"get /a\r\nAccept: */*", "GET", "/a"},
          Case{"  HEAD    /a?b=c   HTTP/1.1 more words", "HEAD", "/a?b=c"},
          Case{"straße /é", "STRASSE", "/é"}, Case{"GET\t/a /b", "GET\t/A", "/b"},
          Case{"GET /a\nRange: bytes=0-1", "GET", "/a\nRange:"},
          Case{"GET / x\r\nRange: bytes=0-1\r\nrange:bytes=2-3", "GET", "/", {}, "bytes=2-3"},
          Case{"GET /\r\n\t AUTHORIZATION \u00A0:\u00A0 Basic a:b \t", "GET", "/", "Basic a:b"},
          Case{"GET /\r\nno colon\r\n: no name\r\nRange\r\nX-Range: 1", "GET", "/"},
          Case{"GET /\r\nRange:\r\nAuthorization: x\nRange: y", "GET", "/", "x\nRange: y", ""},
          Case{"POST /\r\nContent-Length: 5", "POST", "/", {}, {}, true},
          Case{"POST /\r\nTRANSFER-ENCODING: chunked", "POST", "/", {}, {}, true}}) {
        SCOPED_TRACE(head);
        const auto request = parseRequestHead(head);
        ASSERT_TRUE(request);
        EXPECT_EQ(request->method, method);
        EXPECT_EQ(request->target, target);
        EXPECT_EQ(request->authorization, authorization);
        EXPECT_EQ(request->range, range);
        EXPECT_EQ(request->announcesBody, announcesBody);
    }
    for (const std::string_view bad :
         {"", "   ", " GET  ", "GET\r\n/ HTTP/1.1", "GET /\r\nX: \xC3("})
        EXPECT_FALSE(parseRequestHead(bad)) << bad;
}

TEST(Target, LosesItsQueryAndItsEscapesAndStaysInTheRootAndOnThisHost) {
    for (const auto& [target, decoded] :
         {Pair{"/a?b", "/a"}, Pair{"?a=b", "a=b"}, Pair{"??", "/"}, Pair{"??a?b", "a"},
          Pair{"/?", "/"}, Pair{"/a%20b+1", "/a b+1"}, Pair{"/%3F%25", "/?%"},
          Pair{"/%FF%41", "/%FF%41"}, Pair{"/%4", "/%4"}, Pair{"/%2e%2E/x", "/../x"}})
        EXPECT_EQ(decodedPath(rawPath(target)), decoded) << target;
    using Case = std::tuple<const char*, const char*, const char*>;
    for (const auto& [root, path, location] :
         {Case{"/a/share", "/", "/a/share"}, Case{"/a/share", "", "/a/share"},
          Case{"/a/share", "x/", "/a/share/x"}, Case{"/a/share", "//etc//x", "/a/share/etc/x"},
          Case{"/a/share", "/../share/x", "/a/share/x"}, Case{"/a/share", "/..", "none"},
          Case{"/a/share", "/../share2", "none"}, Case{"/a/share", "../../../../a", "none"},
          Case{"/", "/", "/"}, Case{"/", "/../../etc", "/etc"}})
        EXPECT_EQ(resolveRequestPath(root, path).value_or("none"), location) << path;
    for (const auto& [raw, location] :
         {Pair{"/docs", "/docs/"}, Pair{"/My%20Docs", "/My%20Docs/"}, Pair{"docs", "docs/"},
          Pair{"//host/..", "/host/../"}, Pair{"////host/%2e%2e", "/host/%2e%2e/"},
          Pair{"/\\host/..", "/%5Chost/../"}, Pair{"/a//b", "/a//b/"}, Pair{"/é", "/é/"},
          Pair{"/\t/host/..", "/%09/host/../"}, Pair{"/a\r\x7F\x1F", "/a%0D%7F%1F/"}})
        EXPECT_EQ(redirectLocation(raw), location);
}

TEST(ByteRange, IsTheFirstOneCutToTheFile) {
    struct Case {
        std::int64_t size;
        std::string range;
        std::vector<std::string_view> values;
    };
    for (const auto& [size, expected, values] :
         {Case{10, "0-0", {"bytes=0-0"}}, Case{10, "0-1", {"bytes=0-1,5-6"}},
          Case{10, "0-9", {"bytes=-20", "bytes=0-9223372036854775807"}},
          Case{10, "0-9", {"bytes=-9223372036854775807"}},
          Case{10, "2-4", {"bytes= 2 - 4", "BYTES=+2-004", "bytes=,2-4,"}},
          Case{10, "2-4", {"bytes=\u00A02\t-\u30004"}},
          Case{10, "7-9", {"bytes=-3", "bytes=-+3", "bytes=7-", "bytes=7-10"}},
          Case{10, "9-9", {"bytes=9-9", "bytes=9-", "bytes=-1"}},
          Case{10,
               "none",
               {"bytes=10-", "bytes=10-12", "bytes=5-3", "bytes=-0", "bytes=a-5", "bytes=-",
                "bytes=", "bytes=,", "bytes=5", "bytes=1-2-3", "bytes=--3", "bytes=0--1",
                "bytes=1 2-3", "bytes=x-1,2-3", "bytes=0-9223372036854775808", "items=1-2",
                " bytes=1-2"}},
          Case{INT64_MAX, "0-9223372036854775806", {"bytes=0-"}},
          Case{INT64_MAX, "9223372036854775806-9223372036854775806", {"bytes=-1"}},
          Case{0, "none", {"bytes=0-0", "bytes=-1"}}, Case{-1, "none", {"bytes=0-0", "bytes=-1"}}})
        for (const auto value : values) {
            const auto range = parseRange(value, size).value_or(ByteRange{-1, -1});
            const std::string text = std::to_string(range.first) + "-" + std::to_string(range.last);
            EXPECT_EQ(range.first < 0 ? "none" : text, expected) << value;
        }
    EXPECT_TRUE(isByteRange("bYtEs=nonsense"));
    EXPECT_FALSE(isByteRange("bytes"));
}

TEST(ContentType, FollowsTheExtension) {
    // A semicolon stands for "; charset=utf-8".
    std::istringstream types(
        "html=text/html; htm=text/html; HTML=text/html; css=text/css; js=application/javascript; "
        "mjs=application/javascript; json=application/json; txt=text/plain; log=text/plain; "
        "md=text/plain; xml=application/xml; pdf=application/pdf png=image/png jpg=image/jpeg "
        "JpEg=image/jpeg gif=image/gif webp=image/webp svg=image/svg+xml heic=image/heic "
        "mp4=video/mp4 m4v=video/mp4 mov=video/quicktime mkv=video/x-matroska webm=video/webm "
        "mp3=audio/mpeg m4a=audio/mp4 wav=audio/wav flac=audio/flac zip=application/zip "
        "gz=application/octet-stream htmlx=application/octet-stream =application/octet-stream");
    for (std::string word; types >> word;) {
        const auto equals = word.find('=');
        const std::string rest = word.ends_with(';') ? " charset=utf-8" : "";
        EXPECT_EQ(mimeType(word.substr(0, equals)), word.substr(equals + 1) + rest) << word;
    }
    for (const auto& [name, extension] :
         {Pair{"PHOTO.JPG", "JPG"}, Pair{"archive.tar.gz", "gz"}, Pair{"Makefile", ""},
          Pair{".html", ""}, Pair{".a.html", "html"}, Pair{"name.", ""}})
        EXPECT_EQ(fileExtension(name), extension) << name;
}

TEST(IndexPage, IsOneLineOfLinks) {
    EXPECT_EQ(htmlEscape("&lt; it's"), "&amp;lt; it's");
    const auto page = [](const std::string& path, const std::string& items) {
        return "<!doctype html><html><head><meta charset=\"utf-8\"><meta name=\"viewport\" "
               "content=\"width=device-width, initial-scale=1\"><title>Index of " +
               path +
               "</title><style>body{font-family:-apple-system,system-ui,sans-serif;margin:2rem;"
               "line-height:1.6}a{text-decoration:none}a:hover{text-decoration:underline}"
               ".dir{font-weight:600}</style></head><body><h2>Index of " +
               path + "</h2><ul>" + items + "</ul></body></html>";
    };
    const std::string parent = "<li><a href=\"../\">../</a></li>";
    struct Case {
        std::vector<platform::FolderEntry> entries;
        std::string path;
        std::string expected;
    };
    for (const auto& [entries, path, expected] :
         {Case{{{"a<b>.txt"}, {"Photos & Videos", true}},
               "/",
               page("/",
                    "<li><a class=\"file\" href=\"a%3Cb%3E.txt\">a&lt;b&gt;.txt</a></li><li><a "
                    "class=\"dir\" href=\"Photos%20&%20Videos/\">Photos &amp; Videos/</a></li>")},
          Case{{{"\uFFFD\"😀#%"}},
               "/My \"Docs\"/",
               page("/My &quot;Docs&quot;/",
                    parent + "<li><a class=\"file\" href=\"%EF%BF%BD%22%F0%9F%98%80%23%25\">"
                             "\uFFFD&quot;😀#%</a></li>")},
          Case{{}, "", page("/", "")}, Case{{}, "a", page("/a/", parent)},
          Case{{}, "//", page("//", parent)}}) {
        std::string text = "head";
        appendIndexPage(text, entries, path);
        EXPECT_EQ(text, "head" + expected);
        EXPECT_EQ(indexPageLength(entries, path), expected.size()) << path;
    }
}

} // namespace quorvel::http
