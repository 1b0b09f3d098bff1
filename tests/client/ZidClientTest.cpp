#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <limits>
#include <thread>

#include "LatencyHistogram.h"
#include "RunningAgent.h"
#include "Sanitized.h"
#include "ScriptedPeer.h"
#include "ZidClient.h"
#include "ZidClientProbe.h"

namespace {

constexpr std::uint16_t Instance = 7;
constexpr std::uint16_t Patient = 30000;  // ms, a timeout that does not come

constexpr const char* Stopping = "ZidClient - stopping sender thread..\n";
constexpr const char* Unable = "unable to trigger script /yst/bin/zidtimeout.sh\n";

std::string timeoutLine(int timeout) {
    return "timeout for waiting for response received, timer = " + std::to_string(timeout) + "[msec]\n";
}

class ZidClientTest : public testing::Test {
  protected:
    void SetUp() override { testing::internal::CaptureStdout(); }
    void TearDown() override {
        if (client) (void)output();
    }

    void start(std::uint32_t payload, std::uint16_t delay, std::uint16_t burst, std::uint16_t timeout) {
        peer.emplace(Instance, burst);
        client.emplace(Instance, payload, delay, burst, timeout);
    }
    enum class Answer { Yes, No };

    // A sender that is at work ends with an answer.
    void stopClient(Answer answer) {
        std::atomic<bool> stopped{false};
        std::thread answering([&] {
            while (answer == Answer::Yes && !stopped) {
                peer->reply();
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        });
        client->stop();
        stopped = true;
        answering.join();
    }
    // Ends the client; what was printed since the test began.
    std::string output(Answer answer = Answer::Yes) {
        stopClient(answer);
        client.reset();
        return testing::internal::GetCapturedStdout();
    }

    RunningAgent agent;
    std::optional<ScriptedPeer> peer;
    std::optional<ZidClient> client;
};

bool holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST_F(ZidClientTest, SendsABurstForEachReplyWithTheCounterRunningOn) {
    start(300, 0, 3, Patient);
    ASSERT_TRUE(peer->log.waitFor("start 3"));
    EXPECT_EQ(peer->log.all().size(), 2U) << "nothing is sent before the start message is answered";
    for (std::ptrdiff_t bursts = 1; bursts <= 5; ++bursts) {
        peer->reply();
        ASSERT_TRUE(peer->log.waitFor("data", 3 * bursts));
    }
    EXPECT_EQ(peer->log.all().size(), 2U + 15U);
    const std::string printed = output();
    EXPECT_TRUE(peer->log.waitFor("disconnected"));
    EXPECT_EQ(printed.find("starting service with instance 107\nproxy connect with instance 7\n"
                           "ZidClient - waiting for service ... \n.. connected.\n"),
              0U);
    EXPECT_TRUE(holds(printed, std::string(Stopping) + "..  thread joined, disconnecting proxy.. \n"));
    EXPECT_TRUE(holds(printed, "..  disconnected, unregistering service..\n"));
    EXPECT_TRUE(holds(printed, "..  service has been shut down.\n=============="));
}

TEST_F(ZidClientTest, AnArrayOfNoBytesIsSentForNoPayload) {
    start(0, 0, 1, Patient);
    ASSERT_TRUE(peer->log.waitFor("start 1"));
    peer->reply();
    EXPECT_TRUE(peer->log.waitFor("data"));
    peer->reply();
    EXPECT_TRUE(peer->log.waitFor("data", 2));
}

TEST_F(ZidClientTest, BurstsOfNoMessagesMeasureNothing) {
    if (ThreadSanitized)
        GTEST_SKIP() << "the order that a ring makes between the test and the dispatch thread is unseen";
    start(10, 0, 0, Patient);
    ASSERT_TRUE(peer->log.waitFor("start 0"));
    ZidClientProbe probe(*client);
    probe.answer();
    probe.answer();  // the first burst is over
    probe.compute(0, 7, 1000);
    const std::string printed = output();
    EXPECT_TRUE(holds(printed, "burst=0\nmsgs/second:\t0\nbytes/second:\t0\navg_latency[ms]\t0\n")) << printed;
    EXPECT_TRUE(peer->log.waitFor("disconnected"));
    EXPECT_EQ(peer->log.all(), (std::vector<std::string>{"connected", "start 0", "disconnected"}));
}

TEST_F(ZidClientTest, NoTimeoutMeansTheLongest) {
    start(10, 0, 1, 0);
    EXPECT_EQ(ZidClientProbe(*client).timeout(), 10000);
}

TEST_F(ZidClientTest, ATimeoutWhileRunningStartsTheScriptAndEndsTheSender) {
    if (std::filesystem::exists("/yst/bin/zidtimeout.sh")) GTEST_SKIP() << "this machine has a timeout script";
    start(10, 0, 1, 200);
    ASSERT_TRUE(peer->log.waitFor("start 1"));
    std::this_thread::sleep_for(std::chrono::milliseconds(1000));  // stop must not come first
    const std::string printed = output(Answer::No);
    EXPECT_TRUE(holds(printed, timeoutLine(200) + Unable + Stopping)) << printed;
}

TEST_F(ZidClientTest, ATimeoutAfterStopStartsNoScript) {
    start(10, 150, 1, 2000);
    ASSERT_TRUE(peer->log.waitFor("start 1"));
    peer->reply();
    // The sender now sleeps its delay or is about to: stop lets it send this burst, whose answer never comes.
    const std::string printed = output(Answer::No);
    EXPECT_TRUE(peer->log.waitFor("disconnected"));
    EXPECT_FALSE(holds(printed, Unable));
    EXPECT_TRUE(holds(printed, Stopping));
}

TEST_F(ZidClientTest, AReplyBeforeTheWaitIsCountedAndNotLost) {
    start(10, 1000, 1, Patient);
    ASSERT_TRUE(peer->log.waitFor("start 1"));
    ZidClientProbe(*client).answer();
    peer->reply();  // during the delay
    EXPECT_TRUE(peer->log.waitFor("data", 2)) << "the early reply stands for the first burst's";
    stopClient(Answer::No);
    EXPECT_EQ(ZidClientProbe(*client).noSignalCount(), 1);
    EXPECT_EQ(ZidClientProbe(*client).messageCount(), 0U) << "no reply came while a burst was out";
}

TEST_F(ZidClientTest, AWakeUpWithoutAReplySendsTheNextBurst) {
    start(10, 0, 1, Patient);
    ASSERT_TRUE(peer->log.waitFor("start 1"));
    for (int i = 0; i < 3000 && peer->log.all().size() < 3; ++i) {
        ZidClientProbe(*client).wakeSender();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(peer->log.waitFor("data"));
}

TEST_F(ZidClientTest, AServiceThatGoesAwayEndsTheTestWithoutACrash) {
    start(10, 0, 1, 2000);
    ASSERT_TRUE(peer->log.waitFor("start 1"));
    peer->reply();
    ASSERT_TRUE(peer->log.waitFor("data"));
    peer->letGo();
    ASSERT_TRUE(peer->log.waitFor("disconnected")) << "the client drops its proxy";
    const std::string printed = output(Answer::No);
    EXPECT_TRUE(holds(printed, "ZidClient(7): disconnected -> test finished\n"));
    EXPECT_TRUE(holds(printed, Stopping));
    EXPECT_TRUE(holds(printed, "..  service has been shut down.\n"));
}

TEST_F(ZidClientTest, TheCountersEndStopsTheTestOnceAndForAll) {
    start(10, 0, 1, Patient);
    ASSERT_TRUE(peer->log.waitFor("start 1"));
    ZidClientProbe(*client).setMessageCount(std::numeric_limits<std::uint64_t>::max());
    peer->reply();
    ASSERT_TRUE(peer->log.waitFor("data"));
    peer->reply();
    ASSERT_TRUE(peer->log.waitFor("disconnected"));
    const std::string printed = output();
    EXPECT_TRUE(holds(printed, "maximal message count exceeded - stopping test\n"));
    const std::string closing = "..  service has been shut down.\n";
    EXPECT_TRUE(holds(printed, closing));
    EXPECT_EQ(printed.find(closing), printed.rfind(closing)) << "a second stop does nothing";
}

TEST(LatencyHistogram, BoundsAreInclusive) {
    const std::pair<std::uint32_t, std::size_t> bounds[] = {{0, 0},
                                                            {1, 1},
                                                            {9, 9},
                                                            {10, 10},
                                                            {20, 10},
                                                            {21, 11},
                                                            {30, 11},
                                                            {31, 12},
                                                            {90, 17},
                                                            {91, 18},
                                                            {100, 18},
                                                            {101, 19},
                                                            {200, 19},
                                                            {201, 20},
                                                            {500, 20},
                                                            {501, 21},
                                                            {1000, 21},
                                                            {1001, 22},
                                                            {std::numeric_limits<std::uint32_t>::max(), 22}};
    for (const auto& [roundTrip, index] : bounds) EXPECT_EQ(LatencyHistogram::indexOf(roundTrip), index) << roundTrip;
}

class ZidClientReportTest : public ZidClientTest {
  protected:
    void SetUp() override {
        ZidClientTest::SetUp();
        start(100, 50, 10, 2000);
        stopClient(Answer::No);  // without an answer nothing has been measured
        (void)testing::internal::GetCapturedStdout();
        testing::internal::CaptureStdout();
    }
    ZidClientProbe probe() { return ZidClientProbe(*client); }

    static constexpr const char* Head =
        "==============================================\n"
        "ZID stats(inst=7, payload=100, delay=50, burst=10\n";
};

TEST_F(ZidClientReportTest, FinalReportShowsEveryRange) {
    probe().setFigures(18446744073709551615ULL, 25000, 3, 1200);
    for (const std::uint32_t roundTrip : {0U, 0U, 9U, 15U, 55U, 1000U, 1001U}) probe().countLatency(roundTrip);
    probe().printStats(true);
    EXPECT_EQ(output(), std::string("#### big latency detected: 1001 msec\n") + Head +
                            "msgs/second:\t18446744073709551615\n"
                            "bytes/second:\t25000\n"
                            "avg_latency[ms]\t3\n"
                            "max_latency[ms]\t1200\n"
                            " debug m_nosignalcnt 0\n"
                            " ---------------------------\n"
                            " latency histogramm\n"
                            " range [msec] \t count\n"
                            " ---------------------------\n"
                            " 0             \t 2\n"
                            " 1             \t 0\n"
                            " 2             \t 0\n"
                            " 3             \t 0\n"
                            " 4             \t 0\n"
                            " 5             \t 0\n"
                            " 6             \t 0\n"
                            " 7             \t 0\n"
                            " 8             \t 0\n"
                            " 9             \t 1\n"
                            " 10-20         \t 1\n"
                            " 21-30         \t 0\n"
                            " 31-40         \t 0\n"
                            " 41-50         \t 0\n"
                            " 51-60         \t 1\n"
                            " 61-70         \t 0\n"
                            " 71-80         \t 0\n"
                            " 81-90         \t 0\n"
                            " 91-100        \t 0\n"
                            " 101-200       \t 0\n"
                            " 201-500       \t 0\n"
                            " 501-1000      \t 1\n"
                            " >1000         \t 1\n"
                            " ---------------------------\n"
                            "==============================================\n");
}

TEST_F(ZidClientReportTest, RatesAreComputedFromWholeNumbersInTheirOrder) {
    probe().compute(500, 150, 2000);
    probe().compute(1000, 9999, 0);  // without test time the figures stay
    probe().printStats(false);
    EXPECT_EQ(output(), std::string(Head) +
                            "msgs/second:\t250\nbytes/second:\t25000\navg_latency[ms]\t3\nmax_latency[ms]\t0\n"
                            " debug m_nosignalcnt 0\n");
}

TEST_F(ZidClientReportTest, PeriodicReportComesAfterMoreThanTenSeconds) {
    for (const std::uint32_t testTime : {0U, 10000U, 10001U, 20001U, 20002U}) {
        probe().setMessageCount(testTime);
        probe().printPeriodicReport(testTime);
    }
    const std::string figures = std::string(Head) +
                                "msgs/second:\t0\nbytes/second:\t0\navg_latency[ms]\t0\nmax_latency[ms]\t0\n"
                                " debug m_nosignalcnt 0\n";
    EXPECT_EQ(output(), figures + "total messages: 10001, total elapsed 10001\n" + figures +
                            "total messages: 20002, total elapsed 20002\n");
}

}  // namespace
