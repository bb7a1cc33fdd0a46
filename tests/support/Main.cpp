#include "platform/Confinement.h"
#include "platform/Process.h"
#include "platform/WorkQueue.h"

#include <cstdlib>
#include <gtest/gtest.h>

int main(int argumentCount, char** arguments) {
    quorvel::platform::prepareProcess();
    // A sanitizer's report from a confined thread has no symbols; this brings them back.
    if (std::getenv("QUORVEL_TEST_UNCONFINED") != nullptr)
        quorvel::platform::switchConfinementOff();
    testing::InitGoogleTest(&argumentCount, arguments);
    const int result = RUN_ALL_TESTS();
    if (quorvel::platform::WorkQueue::waitUntilAllEnded(std::chrono::seconds(5))) return result;
    std::fputs("Threads of a released queue are still running.\n", stderr);
    return 1;
}
