#include "http/ContentType.h"
#include "http/IndexPage.h"

#include <gtest/gtest.h>
#include <sstream>

namespace quorvel::http {

namespace {

using Pair = std::pair<std::string, std::string>;

TEST(ContentType, FollowsTheExtension) {
    for (const auto& [extensions, type] : {Pair{"html htm HTML", "text/html; charset=utf-8"},
                                           Pair{"css", "text/css; charset=utf-8"},
                                           Pair{"js mjs", "application/javascript; charset=utf-8"},
                                           Pair{"json", "application/json; charset=utf-8"},
                                           Pair{"pdf", "application/pdf"},
                                           Pair{"txt log md", "text/plain; charset=utf-8"},
                                           Pair{"gif", "image/gif"},
                                           Pair{"xml", "application/xml; charset=utf-8"},
                                           Pair{"jpg jpeg JpEg", "image/jpeg"},
                                           Pair{"png", "image/png"},
                                           Pair{"webp", "image/webp"},
                                           Pair{"svg", "image/svg+xml"},
                                           Pair{"heic", "image/heic"},
                                           Pair{"mp4 m4v", "video/mp4"},
                                           Pair{"mov", "video/quicktime"},
                                           Pair{"mkv", "video/x-matroska"},
                                           Pair{"webm", "video/webm"},
                                           Pair{"mp3", "audio/mpeg"},
                                           Pair{"m4a", "audio/mp4"},
                                           Pair{"wav", "audio/wav"},
                                           Pair{"flac", "audio/flac"},
                                           Pair{"zip", "application/zip"},
                                           Pair{"gz htmlx tx 7z", "application/octet-stream"}}) {
        std::istringstream words(extensions);
        for (std::string word; words >> word;)
            EXPECT_EQ(mimeType(word), type) << word;
    }
    EXPECT_EQ(mimeType(""), "application/octet-stream");
    for (const auto& [name, extension] :
         {Pair{"PHOTO.JPG", "JPG"}, Pair{"archive.tar.gz", "gz"}, Pair{"Makefile", ""},
          Pair{".html", ""}, Pair{".a.html", "html"}, Pair{"name.", ""}})
        EXPECT_EQ(fileExtension(name), extension) << name;
}

TEST(IndexPage, IsOneLineOfLinks) {
    EXPECT_EQ(htmlEscape("&lt; <a href=\"x\"> it's"), "&amp;lt; &lt;a href=&quot;x&quot;&gt; it's");
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
    EXPECT_EQ(indexPage({{"a<b>.txt"}, {"Photos & Videos", true}}, "/"),
              page("/",
                   "<li><a class=\"file\" href=\"a%3Cb%3E.txt\">a&lt;b&gt;.txt</a></li><li><a "
                   "class=\"dir\" href=\"Photos%20&%20Videos/\">Photos &amp; Videos/</a></li>"));
    EXPECT_EQ(indexPage({{"\xFF\"😀#%"}}, "/My \"Docs\"/"),
              page("/My &quot;Docs&quot;/",
                   parent + "<li><a class=\"file\" href=\"%FF%22%F0%9F%98%80%23%25\">"
                            "\uFFFD&quot;😀#%</a></li>"));
    EXPECT_EQ(indexPage({}, ""), page("/", ""));
    EXPECT_EQ(indexPage({}, "a"), page("/a/", parent));
    EXPECT_EQ(indexPage({}, "//"), page("//", parent));
}

} // namespace

} // namespace quorvel::http
