#include <algorithm>
#include <cstdio>

#include "EndToEndTest.h"

namespace {

using MessageTest = EndToEndTest;

TEST_F(MessageTest, TwoProcessesExchangeMessagesAndReport) {
    Program service({"-s", "7"});
    Program shell({});
    const std::string header = "ZID stats(inst=7, payload=1000, delay=1, burst=5";
    shell.write("startZID 7 --payload 1000 --delay 1 --burstcount 5");
    const std::vector<std::string> periodic = shell.waitForBlock(header, 8);
    ASSERT_EQ(periodic.size(), 8U);
    unsigned long long messages = 0;
    int time = 0;
    ASSERT_EQ(std::sscanf(periodic[7].c_str(), "total messages: %llu, total elapsed %d", &messages, &time), 2);
    EXPECT_EQ(messages % 5, 0U);
    EXPECT_GT(time, 10000);
    EXPECT_EQ(periodic[2], "msgs/second:\t" + std::to_string(messages * 1000 / static_cast<unsigned>(time)));

    shell.write("stopZID 7");
    const Report report = Report::readFrom(shell, header);
    leave(shell);
    EXPECT_GE(report.bursts() * 5, messages);
    EXPECT_EQ(report.bytesPerSecond, 1000 * report.messagesPerSecond);
    EXPECT_LE(report.averageLatency, report.maximalLatency);
    EXPECT_LE(report.noSignalCount, report.bursts() + 1);
    const auto last = std::find_if(report.histogram.rbegin(), report.histogram.rend(), [](auto n) { return n != 0; });
    EXPECT_EQ(Report::rangeOf(report.maximalLatency), static_cast<std::size_t>(report.histogram.rend() - last) - 1);

    EXPECT_TRUE(shell.output().holdsInOrder(
        {"starting shell, type \"list_services --full\" for command api", "ZIDShell started",
         "StartZID:   instance:    7  payload:     1000  delay:       1  burstcount:  5",
         "starting service with instance 107", "proxy connect with instance 7", "ZidClient - waiting for service ... ",
         ".. connected.", header, "total messages: *", "StopZID:   instance:    7",
         "ZidClient - stopping sender thread..", "..  thread joined, disconnecting proxy.. ",
         "..  disconnected, unregistering service..", "..  service has been shut down.", header, "ZIDShell exited"}));
    EXPECT_EQ(shell.output().lines().back(), "ZIDShell exited");
    EXPECT_EQ(shell.errors().text(), "");

    service.waitForLine("ZidService(7): disconnected -> test finished");
    EXPECT_EQ(service.output().text(),
              "directly starting zid service with instance7\nstarting service with instance 7\n"
              "ZidService: clientConnected - connecting proxy with instance 107\n"
              "ZidService(7): starting test with msg_count = 5\nZidService(7): disconnected -> test finished\n");
    EXPECT_EQ(service.errors().text(), "");
}

TEST_F(MessageTest, SmallestAndLargestMessagesArrive) {
    Program service({"-s", "99"});
    Program shell({});
    EXPECT_EQ(runTest(shell, 99, "--payload 0 --delay 0 --burstcount 99").bytesPerSecond, 0U);
    const Report large = runTest(shell, 99, "--payload 1048576 --delay 0 --burstcount 99");
    EXPECT_EQ(large.bytesPerSecond, 1048576 * large.messagesPerSecond);
    leave(shell);
    EXPECT_EQ(shell.output().count("timeout*"), 0U);
    EXPECT_EQ(service.errors().text(), "");
}

// All run at full speed at once, so whoever connects is held up in every place; a call that is lost then is a pair that
// never begins.
TEST_F(MessageTest, AllInstancesGetToWorkAtOnce) {
    constexpr int Instances = 99;
    constexpr Program::Milliseconds Patience{120000};
    Program services({});
    Program clients({});
    for (int i = 1; i <= Instances; ++i) services.write("startService " + std::to_string(i));
    services.waitForLine("starting service with instance " + std::to_string(Instances), Patience);
    for (int i = 1; i <= Instances; ++i) clients.write("startZID " + std::to_string(i) + " 100 0 10");
    for (int i = 1; i <= Instances; ++i)
        services.waitForLine("ZidService(" + std::to_string(i) + "): starting test with msg_count = 10", Patience);
    clients.kill();
    for (int i = 1; i <= Instances; ++i)
        services.waitForLine("ZidService(" + std::to_string(i) + "): disconnected -> test finished", Patience);
    leave(services);
    EXPECT_EQ(services.errors().text(), "");
}

}  // namespace
