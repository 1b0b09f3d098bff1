#include <fstream>

#include "EndToEndTest.h"
#include "ProcessState.h"
#include "ScriptTurn.h"

namespace {

constexpr const char* ScriptFolder = "/yst";
constexpr const char* Script = "/yst/bin/zidtimeout.sh";
constexpr const char* NotStarted = "unable to trigger script /yst/bin/zidtimeout.sh";

class TimeoutTest : public EndToEndTest {
  protected:
    ~TimeoutTest() override {
        std::error_code ignored;
        if (m_installed) std::filesystem::remove_all(ScriptFolder, ignored);
    }

    void SetUp() override {
        if (std::filesystem::exists(ScriptFolder)) GTEST_SKIP() << ScriptFolder << " exists and is not ours";
    }

    // Installs a script that notes each of its runs. False if that is not allowed here.
    bool installScript() {
        std::error_code error;
        m_installed = std::filesystem::create_directories("/yst/bin", error);
        if (!m_installed) return false;
        std::ofstream(Script) << "#!/bin/sh\necho \"$0 $#\" >> " << notes() << "\n";
        std::filesystem::permissions(Script, std::filesystem::perms::owner_all, error);
        return !error;
    }

    std::filesystem::path notes() const { return runtimeDirectory() / "notes"; }

    std::string noted() const {
        std::string content;
        std::ifstream file(notes());
        std::getline(file, content, '\0');
        return content;
    }

  private:
    const ScriptTurn m_turn;
    bool m_installed = false;
};

TEST_F(TimeoutTest, KilledServiceEndsTheSenderAndTheNextOneServesAgain) {
    Program service({"-s", "5"});
    Program shell({});
    shell.write("setTimeout 1000");
    shell.write("startZID 5 --payload 1000 --delay 0 --burstcount 99");
    service.waitForLine("ZidService(5): starting test with msg_count = 99");
    service.kill();
    shell.waitForLine("ZidClient(5): disconnected -> test finished");
    shell.waitForLine("ZidClient - stopping sender thread..");
    shell.write("stopZID 5");
    Report::readFrom(shell, "ZID stats(inst=5, payload=1000, delay=0, burst=99");
    EXPECT_TRUE(shell.output().holdsInOrder({"setTimeout:   timeout[msec]:    1000", ".. connected.",
                                             "timeout for waiting for response received, timer = 1000[msec]",
                                             NotStarted, "ZidClient - stopping sender thread..",
                                             "StopZID:   instance:    5", "..  thread joined, disconnecting proxy.. ",
                                             "..  disconnected, unregistering service..",
                                             "..  service has been shut down.", "ZID stats*"}));
    EXPECT_EQ(shell.output().count(NotStarted), 1U);

    shell.write("setTimeout");
    Program next({"-s", "5"});
    runTest(shell, 5);
    leave(shell);
}

TEST_F(TimeoutTest, SenderMayTimeOutBeforeTheServiceComes) {
    Program shell({});
    shell.write("setTimeout 200");
    shell.write("startZID 5 &");
    shell.waitForLine("ZidClient - stopping sender thread..");
    shell.write("startService 5");
    shell.waitForLine(".. connected.");
    shell.write("wait");
    shell.write("stopZID 5");
    const Report report = Report::readFrom(shell, "ZID stats(inst=5, payload=100, delay=50, burst=1");
    EXPECT_EQ(report.bursts() + report.messagesPerSecond + report.bytesPerSecond + report.averageLatency +
                  report.maximalLatency + report.noSignalCount,
              0U);
    leave(shell);
    EXPECT_TRUE(shell.output().holdsInOrder(
        {"ZidClient - waiting for service ... ", "timeout for waiting for response received, timer = 200[msec]",
         NotStarted, "ZidClient - stopping sender thread..", ".. connected.", "..  service has been shut down."}));
}

TEST_F(TimeoutTest, RunningClientKeepsItsTimeoutAndMeasuresAnAnswerThatComesLater) {
    Program service({"-s", "5"});
    Program shell({});
    shell.write("setTimeout 1100");
    shell.write("startZID 5 --delay 0");
    service.waitForLine("ZidService(5): starting test with msg_count = 1");
    shell.write("setTimeout 9000");
    const auto begin = processorTicksOf(service.id());
    ASSERT_TRUE(eventually([&] { return processorTicksOf(service.id()) > begin + 10; })) << "no bursts are answered";
    service.pause();
    shell.waitForLine("ZidClient - stopping sender thread..");
    service.resume();
    shell.waitForLine("#### big latency detected: *");
    shell.write("stopZID 5");
    const Report report = Report::readFrom(shell, "ZID stats(inst=5, *");
    EXPECT_GE(report.histogram.back(), 1U);
    EXPECT_GT(report.maximalLatency, 1000U);
    leave(shell);
    EXPECT_TRUE(shell.output().holdsInOrder({"setTimeout:   timeout[msec]:    9000",
                                             "timeout for waiting for response received, timer = 1100[msec]",
                                             "#### big latency detected: *"}));
}

TEST_F(TimeoutTest, ScriptRunsOnceAndLeavesNoProcessBehind) {
    if (!installScript()) GTEST_SKIP() << "not allowed to install " << Script;
    Program service({"-s", "5"});
    service.waitForLine("starting service with instance 5");
    Program shell({});
    runTest(shell, 5);
    service.pause();
    shell.write("setTimeout 500");
    shell.write("startZID 5");
    shell.waitForLine("timeout for waiting for response received, timer = 500[msec]");
    shell.waitForLine("ZidClient - stopping sender thread..");
    EXPECT_TRUE(eventually([this] { return !noted().empty(); }));
    EXPECT_TRUE(eventually([&shell] { return childrenOf(shell.id()) == 0; }));
    service.resume();
    shell.write("stopZID 5");
    leave(shell);
    EXPECT_EQ(noted(), std::string(Script) + " 0\n");
    EXPECT_EQ(shell.output().count(NotStarted), 0U);
}

TEST_F(TimeoutTest, ScriptDoesNotRunAfterStopZid) {
    if (!installScript()) GTEST_SKIP() << "not allowed to install " << Script;
    Program service({"-s", "5"});
    Program shell({});
    shell.write("setTimeout 3000");
    bool timedOut = false;  // only if the command comes while the sender sleeps before a burst
    for (int attempt = 0; attempt < 10 && !timedOut; ++attempt) {
        shell.write("startZID 5 --delay 1000");
        service.waitForLine("ZidService(5): starting test with msg_count = 1");
        service.letRun(Program::Milliseconds(100));  // it has answered, then
        service.pause();
        shell.write("stopZID 5");
        Report::readFrom(shell, "ZID stats(inst=5, *");
        timedOut = shell.sees("timeout*", Program::Milliseconds(0));
        service.resume();
        service.waitForLine("ZidService(5): disconnected -> test finished");
    }
    EXPECT_TRUE(timedOut);
    leave(shell);
    EXPECT_EQ(noted(), "");
    EXPECT_EQ(shell.output().count(NotStarted), 0U);
}

}  // namespace
