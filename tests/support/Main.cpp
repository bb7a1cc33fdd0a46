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

/// Stands before the system's for everything in the tests: a descriptor that is closed twice is
/// somebody else's the second time, sooner or later.
extern "C" int close(int descriptor) {
    static const auto next = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "close"));
    const int result = next(descriptor);
    if (result != 0 && errno == EBADF) ++wrongCloses;
    return result;
}

int main(int argumentCount, char** arguments) {
    quorvel::platform::prepareProcess();
    // A sanitizer's report from a confined thread has no symbols; this brings them back.
    if (std::getenv("QUORVEL_TEST_UNCONFINED") != nullptr)
        quorvel::platform::setConfinementEnabled(false);
    // ThreadSanitizer starts a thread of its own with the first one, and tests count threads.
    std::thread([] {}).join();
    testing::InitGoogleTest(&argumentCount, arguments);
    const int result = RUN_ALL_TESTS();
    if (!quorvel::platform::WorkQueue::waitUntilAllEnded(std::chrono::seconds(5))) {
        std::fputs("Threads of a released queue are still running.\n", stderr);
        return 1;
    }
    if (wrongCloses == 0) return result;
    std::fputs("A descriptor was closed that was not open.\n", stderr);
    return 1;
}
