#include "platform/files/OpenBeneath.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/openat2.h>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>

namespace quorvel::platform {

namespace {

// RESOLVE_BENEATH fails with EAGAIN if a rename anywhere races with ".." in a link.
constexpr int raceRetries = 64;

// Linux 5.12; Debian's header has it, older ones do not.
constexpr auto resolveCached = 0x20;

using Resolution = decltype(open_how::resolve);

Descriptor openResolved(int folder, const std::string& path, int flags, Resolution resolve) {
    open_how how{};
    how.flags = static_cast<decltype(how.flags)>(flags);
    how.resolve = resolve;
    return Descriptor(
        static_cast<int>(syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how)));
}

Descriptor openCached(int folder, const std::string& path, int flags, Resolution resolve) {
    Descriptor item = openResolved(folder, path, flags, resolve | resolveCached);
    // Older kernels do not know the flag.
    if (!item && errno == EINVAL) errno = EAGAIN;
    return item;
}

Descriptor openOnDisk(int folder, const std::string& path, int flags, Resolution resolve) {
    for (int attempt = 0; attempt < raceRetries; ++attempt) {
        Descriptor item = openResolved(folder, path, flags, resolve);
        if (item || (errno != EAGAIN && errno != EINTR)) return item;
    }
    return {};
}

} // namespace

Descriptor openFolder(const std::string& path, Lookup lookup) {
    constexpr int flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    return lookup == Lookup::inCaches ? openCached(AT_FDCWD, path, flags, 0)
                                      : openOnDisk(AT_FDCWD, path, flags, 0);
}

Descriptor openBeneath(const Descriptor& root, const std::string& path, int flags, Lookup lookup) {
    constexpr Resolution beneath = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    // At a mount a look at the caches may ask a file server all the same.
    return lookup == Lookup::inCaches
               ? openCached(root.number(), path, flags, beneath | RESOLVE_NO_XDEV)
               : openOnDisk(root.number(), path, flags, beneath);
}

} // namespace quorvel::platform
