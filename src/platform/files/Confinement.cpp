#include "platform/files/Confinement.h"

#include "platform/Descriptor.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <memory>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>

namespace quorvel::platform {

namespace {

// Debian's header knows Landlock as of Linux 5.19, so later additions are declared here
// (landlock(7), include/uapi/linux/landlock.h).
constexpr std::uint64_t readFile = 1U << 2;
constexpr std::uint64_t readDirectory = 1U << 3;
constexpr std::uint64_t bindTcp = 1U << 0;
constexpr std::uint64_t connectTcp = 1U << 1;
constexpr int rulePathBeneath = 1;
constexpr int ruleNetworkPort = 2;
constexpr unsigned askVersion = 1U << 0;

constexpr std::uint64_t abstractSockets = 1U << 0;
constexpr std::uint64_t signals = 1U << 1;

constexpr int networkVersion = 4;
constexpr int scopeVersion = 6;

struct RulesetAttributes {
    std::uint64_t files;
    std::uint64_t network;
    std::uint64_t scope;
};

struct [[gnu::packed]] PathBeneath {
    std::uint64_t allowed;
    std::int32_t folder;
};

struct NetworkPort {
    std::uint64_t allowed;
    std::uint64_t port;
};

bool enabled = true;

int landlockVersion() {
    const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, askVersion);
    return version < 0 ? 0 : static_cast<int>(version);
}

/// Every file right that this version of Landlock can restrict.
std::uint64_t knownFileRights(int version) {
    constexpr int first = 13;                         // execute to make-symlink
    if (version >= 5) return (1U << (first + 3)) - 1; // and ioctl on devices
    if (version >= 3) return (1U << (first + 2)) - 1; // and truncate
    if (version == 2) return (1U << (first + 1)) - 1; // and rename to another folder
    return (1U << first) - 1;
}

/// The size of the attributes that this version knows; it rejects more than that.
std::size_t knownAttributes(int version) {
    if (version >= scopeVersion) return sizeof(RulesetAttributes);
    if (version >= networkVersion) return offsetof(RulesetAttributes, scope);
    return offsetof(RulesetAttributes, network);
}

bool outOfResources(int code) {
    return code == EMFILE || code == ENFILE || code == ENOMEM;
}

Descriptor makeRuleset(int version) {
    const RulesetAttributes attributes{knownFileRights(version), bindTcp | connectTcp,
                                       abstractSockets | signals};
    Descriptor ruleset(static_cast<int>(
        syscall(SYS_landlock_create_ruleset, &attributes, knownAttributes(version), 0)));
    if (!ruleset && outOfResources(errno)) throw std::system_error(errno, std::generic_category());
    return ruleset;
}

// Without this rule nothing can be read at all, so a failure here is safe.
void allowReading(const Descriptor& ruleset, const std::string& folder) {
    const Descriptor root(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const PathBeneath reading{readFile | readDirectory, root.number()};
    if (root) syscall(SYS_landlock_add_rule, ruleset.number(), rulePathBeneath, &reading, 0);
}

// Port 0 is a port chosen by the kernel, as passive data connections use.
void allowDataListeners(const Descriptor& ruleset) {
    const NetworkPort anyPort{bindTcp, 0};
    syscall(SYS_landlock_add_rule, ruleset.number(), ruleNetworkPort, &anyPort, 0);
}

} // namespace

ConfinementLevel supportedConfinement() {
    const int version = landlockVersion();
    if (version == 0) return ConfinementLevel::none;
    if (version < networkVersion) return ConfinementLevel::files;
    return version < scopeVersion ? ConfinementLevel::filesAndNetwork
                                  : ConfinementLevel::filesNetworkAndSignals;
}

ThreadSetup confinementTo(const std::string& folder) {
    if (!enabled) return {};
    const int version = landlockVersion();
    if (version == 0) return {};
    const auto ruleset = std::make_shared<const Descriptor>(makeRuleset(version));
    if (!*ruleset) return {};
    allowReading(*ruleset, folder);
    if (version >= networkVersion) allowDataListeners(*ruleset);
    return [ruleset] {
        // Landlock requires it. Both apply to the calling thread only.
        if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return;
        syscall(SYS_landlock_restrict_self, ruleset->number(), 0);
    };
}

void setConfinementEnabled(bool isEnabled) {
    enabled = isEnabled;
}

} // namespace quorvel::platform
