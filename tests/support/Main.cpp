#include "support/SocketClient.h"

#include "platform/Process.h"
#include "platform/files/Confinement.h"
#include "platform/network/WorkQueue.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <thread>

namespace {

std::atomic<int> wrongCloses = 0;

} // namespace

/// Interposes close(2): a descriptor that is closed twice may belong to something else the second
/// time.
extern "C" int close(int descriptor) {
    static const auto next = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "close"));
    const int result = next(descriptor);
    if (result != 0 && errno == EBADF) ++wrongCloses;
    return result;
}

int main(int argumentCount, char** arguments) {
    quorvel::platform::prepareProcess();
    // A confined thread cannot read the symbols for a sanitizer's report.
    if (std::getenv("QUORVEL_TEST_UNCONFINED") != nullptr)
        quorvel::platform::setConfinementEnabled(false);
    // ThreadSanitizer starts its own thread with the first one, and tests count threads.
    std::thread([] {}).join();
    testing::InitGoogleTest(&argumentCount, arguments);
    const int result = RUN_ALL_TESTS();
    if (!quorvel::platform::waitUntilThreadsEnded(quorvel::test::patience)) {
        std::fputs("Threads of a released queue are still running.\n", stderr);
        return 1;
    }
    if (wrongCloses == 0) return result;
    std::fputs("A descriptor was closed that was not open.\n", stderr);
    return 1;
}
