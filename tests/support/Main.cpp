#include "platform/Process.h"
#include "platform/WorkQueue.h"

#include <gtest/gtest.h>

int main(int argumentCount, char** arguments) {
    quorvel::platform::prepareProcess();
    testing::InitGoogleTest(&argumentCount, arguments);
    const int result = RUN_ALL_TESTS();
    if (quorvel::platform::WorkQueue::waitUntilAllEnded(std::chrono::seconds(5))) return result;
    std::fputs("Threads of a released queue are still running.\n", stderr);
    return 1;
}
