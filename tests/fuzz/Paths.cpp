#include "Fuzz.h"

#include "ftp/VirtualPath.h"
#include "server/FolderPath.h"

using namespace quorvel;

static bool isClean(std::string_view path) {
    const std::string closed = std::string(path) + "/";
    return path.starts_with('/') && (path == "/" || !closed.contains("//")) &&
           !closed.contains("/./") && !closed.contains("/../");
}

void test::fuzz(std::string_view input) {
    const std::string root = server::standardizedPath("/" + std::string(test::takePart(input)));
    const auto working = ftp::resolvePath("/", test::takePart(input));
    const auto virtualPath = ftp::resolvePath(working, input);
    FUZZ_EXPECT(isClean(root) && isClean(working) && isClean(virtualPath));
    FUZZ_EXPECT(ftp::resolvePath(virtualPath, "") == virtualPath);
    const auto ofFtp = ftp::urlForVirtualPath(root, virtualPath);
    FUZZ_EXPECT(isClean(ofFtp) && server::isInside(root, ofFtp));
    FUZZ_EXPECT("/" + std::string(server::relativeTo(root, ofFtp)) == virtualPath);
}
