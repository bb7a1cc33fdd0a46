#include "platform/files/OpenRoot.h"

#include <fcntl.h>

namespace quorvel::platform {

namespace {

thread_local bool isHeld = false;
thread_local std::shared_ptr<const OpenRoot> heldRoot;

} // namespace

Result<std::shared_ptr<const OpenRoot>> openRoot(const std::string& path) {
    if (heldRoot && heldRoot->path == path) return heldRoot;
    Descriptor descriptor(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor) return failure();
    auto root = std::make_shared<const OpenRoot>(path, std::move(descriptor));
    if (isHeld) heldRoot = root;
    return root;
}

RootHold::RootHold() {
    isHeld = true;
}

RootHold::~RootHold() {
    isHeld = false;
    heldRoot.reset();
}

} // namespace quorvel::platform
