#include "http/ContentType.h"
#include "http/IndexPage.h"

#include <gtest/gtest.h>
#include <sstream>

namespace quorvel::http {

namespace {

TEST(ContentType, FollowsTheExtension) {
    for (const auto& [extensions, type] : {
             std::pair{"html htm", "text/html; charset=utf-8"},
             {"css", "text/css; charset=utf-8"},
             {"js mjs", "application/javascript; charset=utf-8"},
             {"json", "application/json; charset=utf-8"},
             {"txt log md", "text/plain; charset=utf-8"},
             {"xml", "application/xml; charset=utf-8"},
             {"pdf", "application/pdf"},
             {"png", "image/png"},
             {"jpg jpeg", "image/jpeg"},
             {"gif", "image/gif"},
             {"webp", "image/webp"},
             {"svg", "image/svg+xml"},
             {"heic", "image/heic"},
             {"mp4 m4v", "video/mp4"},
             {"mov", "video/quicktime"},
             {"mkv", "video/x-matroska"},
             {"webm", "video/webm"},
             {"mp3", "audio/mpeg"},
             {"m4a", "audio/mp4"},
             {"wav", "audio/wav"},
             {"flac", "audio/flac"},
             {"zip", "application/zip"},
             {"gz htmlx tx 7z", "application/octet-stream"},
         }) {
        std::istringstream words(extensions);
        for (std::string word; words >> word;)
            EXPECT_EQ(mimeType(word), type) << word;
    }
    EXPECT_EQ(mimeType(""), "application/octet-stream");
    EXPECT_EQ(mimeType("JpEg"), "image/jpeg");
    for (const auto& [name, extension] : {std::pair{"PHOTO.JPG", "JPG"},
                                          {"archive.tar.gz", "gz"},
                                          {"Makefile", ""},
                                          {".html", ""},
                                          {".a.html", "html"},
                                          {"name.", ""}})
        EXPECT_EQ(fileExtension(name), extension) << name;
}

TEST(IndexPage, IsOneLineOfLinks) {
    EXPECT_EQ(htmlEscape("&lt; <a href=\"x\"> it's"), "&amp;lt; &lt;a href=&quot;x&quot;&gt; it's");
    const std::string start = "<!doctype html><html><head><meta charset=\"utf-8\"><meta "
                              "name=\"viewport\" content=\"width=device-width, initial-scale=1\">";
    const std::string style =
        "<style>body{font-family:-apple-system,system-ui,sans-serif;margin:2rem;line-height:1.6}"
        "a{text-decoration:none}a:hover{text-decoration:underline}.dir{font-weight:600}</style>"
        "</head><body>";
    EXPECT_EQ(indexPage({{"a<b>.txt"}, {"Photos & Videos", true}}, "/"),
              start + "<title>Index of /</title>" + style +
                  "<h2>Index of /</h2><ul>"
                  "<li><a class=\"file\" href=\"a%3Cb%3E.txt\">a&lt;b&gt;.txt</a></li>"
                  "<li><a class=\"dir\" href=\"Photos%20&%20Videos/\">Photos &amp; Videos/</a></li>"
                  "</ul></body></html>");
    EXPECT_EQ(indexPage({{"\xFF\"😀#%"}}, "/My \"Docs\"/"),
              start + "<title>Index of /My &quot;Docs&quot;/</title>" + style +
                  "<h2>Index of /My &quot;Docs&quot;/</h2><ul><li><a href=\"../\">../</a></li>"
                  "<li><a class=\"file\" href=\"%FF%22%F0%9F%98%80%23%25\">\uFFFD&quot;😀#%</a></li>"
                  "</ul></body></html>");
    for (const auto& [decoded, shown] : {std::pair{"", "/"}, {"a", "/a/"}, {"//", "//"}})
        EXPECT_TRUE(
            indexPage({}, decoded).contains(std::string("<h2>Index of ") + shown + "</h2>"));
}

} // namespace

} // namespace quorvel::http
