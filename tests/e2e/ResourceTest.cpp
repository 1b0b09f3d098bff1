#include <thread>

#include "EndToEndTest.h"
#include "ProcessState.h"

namespace {

constexpr Program::Milliseconds Window{2000};

using ResourceTest = EndToEndTest;

// Whether it comes to rest: nothing runs for the length of the window.
testing::AssertionResult comesToRest(const Program& program) {
    std::string before;
    std::string after;
    for (int attempt = 0; attempt < 5; ++attempt) {
        before = activityOf(program.id());
        std::this_thread::sleep_for(Window);
        after = activityOf(program.id());
        if (!before.empty() && before == after) return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "thread: user time, system time, sleeps\n" << before << "became\n" << after;
}

TEST_F(ResourceTest, IdleServiceRestsAndIsSmall) {
    Program service({"-s", "4"});
    service.waitForLine("starting service with instance 4");
    if (isSanitized(service.id())) GTEST_SKIP() << "the sanitizers' own threads and memory would be measured";
    EXPECT_TRUE(comesToRest(service));
    Program shell({});
    runTest(shell, 4, "--payload 1000 --delay 0 --burstcount 99");
    service.waitForLine("ZidService(4): disconnected -> test finished");
    EXPECT_TRUE(comesToRest(service));
    EXPECT_TRUE(comesToRest(shell));
    constexpr unsigned long long Limit = 16ULL << 10;  // KiB
    EXPECT_LT(figureOf(service.id(), "VmRSS"), Limit);
    EXPECT_LT(figureOf(shell.id(), "VmRSS"), Limit);
    EXPECT_GT(figureOf(service.id(), "VmRSS"), 0U);
    leave(shell);
}

TEST_F(ResourceTest, NothingIsLeftInTheRuntimeDirectory) {
    Program other({});
    Program shell({});
    other.write("startService 4");
    runTest(shell, 4);
    shell.write("startService 5");
    other.write("startZID 5");
    other.waitForLine(".. connected.");
    EXPECT_FALSE(std::filesystem::is_empty(meetingPlace()));
    leave(other);
    leave(shell);
    EXPECT_TRUE(std::filesystem::is_empty(meetingPlace()));
}

}  // namespace
