#include "EndToEndTest.h"
#include "ProcessState.h"

namespace {

using ResourceTest = EndToEndTest;

TEST_F(ResourceTest, IdleServiceRestsAndIsSmall) {
    Program service({"-s", "4"});
    service.waitForLine("starting service with instance 4");
    if (isSanitized(service.id())) GTEST_SKIP() << "the sanitizers' own threads and memory would be measured";
    EXPECT_TRUE(comesToRest(service.id()));
    Program shell({});
    runTest(shell, 4, "--payload 1000 --delay 0 --burstcount 99");
    service.waitForLine("ZidService(4): disconnected -> test finished");
    EXPECT_TRUE(comesToRest(service.id()));
    EXPECT_TRUE(comesToRest(shell.id()));
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
    const auto files = [this] { return std::distance(std::filesystem::directory_iterator(meetingPlace()), {}); };
    EXPECT_GT(files(), 1);
    leave(other);
    leave(shell);
    EXPECT_EQ(files(), 1) << "the directory's own, and no registration's";
}

}  // namespace
