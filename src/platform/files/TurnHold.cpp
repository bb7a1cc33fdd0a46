#include "platform/files/TurnHold.h"

#include <utility>

namespace quorvel::platform {

namespace {

thread_local TurnHold* current = nullptr;

} // namespace

TurnHold::TurnHold() {
    current = this;
}

TurnHold::~TurnHold() {
    current = nullptr;
}

TurnHold* TurnHold::ofThisThread() {
    return current;
}

void TurnHold::keep(Descriptor file, const FileVersion& version) {
    file_ = std::move(file);
    version_ = version;
}

Descriptor TurnHold::take(const FileVersion& version) {
    return version == version_ ? std::exchange(file_, {}) : Descriptor();
}

} // namespace quorvel::platform
