// The order in which clients that come and go are heard.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <thread>

#include "PeerProcess.h"
#include "PlayedPeer.h"
#include "RunningAgent.h"
#include "StandardError.h"
#include "Traffic.h"

namespace comm::transport {
namespace {

constexpr std::uint32_t MiB = 1U << 20;
constexpr std::uint16_t Hold = 9;

class SuccessorTest : public testing::Test {
  protected:
    SuccessorTest() { EXPECT_FALSE(m_service.registration().registerService()); }
    ~SuccessorTest() override { letGo(); }

    // Connects, and keeps the service in the callback of its first call.
    void connectAndHold(TestProxy& proxy) {
        ASSERT_FALSE(proxy.connect());
        proxy.call(Hold);
        ASSERT_TRUE(log.waitFor("held"));
    }
    void letGo() {
        if (!m_hasLetGo.exchange(true)) m_held.count_down();
    }

    // What has been reported before that event.
    std::vector<std::string> before(const std::string& event) {
        EXPECT_TRUE(log.waitFor(event)) << "it is not heard";
        std::vector<std::string> events = log.all();
        events.erase(std::ranges::find(events, event), events.end());
        return events;
    }

    // For more calls than fit in the ring.
    std::vector<std::string> leaveWithABacklog(TestProxy& proxy) {
        constexpr int Calls = 64;
        for (int i = 0; i < Calls; ++i) proxy.call(1, countingArray(MiB, 0));
        proxy.disconnect();
        std::vector<std::string> expected{"connected", "held", std::to_string(Hold)};
        expected.insert(expected.end(), Calls, "1");
        expected.insert(expected.end(), {"disconnected", "connected"});
        return expected;
    }

    RunningAgent agent;
    std::chrono::microseconds pause{0};  // in each callback

  private:
    std::atomic<bool> m_hasLetGo{false};
    std::latch m_held{1};
    TestService m_service{1, [this](const Message& message) {
                              if (message.handleSize != Hold) return std::this_thread::sleep_for(pause);
                              log.add("held");
                              m_held.wait();
                          }};

  protected:
    EventLog& log = m_service.log;
};

TEST_F(SuccessorTest, OfTheSameProcessIsHeardAfterTheLastCallOfItsPredecessor) {
    TestProxy first(1);
    connectAndHold(first);
    const std::vector<std::string> expected = leaveWithABacklog(first);
    TestProxy second(1);
    ASSERT_FALSE(second.connect());
    second.call(2);
    letGo();
    EXPECT_EQ(before("2"), expected);
}

TEST_F(SuccessorTest, OfAnotherProcessIsHeardAfterTheLastCallOfItsPredecessor) {
    TestProxy first(1);
    connectAndHold(first);
    const std::vector<std::string> expected = leaveWithABacklog(first);
    const PeerProcess second("testclient call 1 1 10");
    ASSERT_EQ(second.readLine(), "called");
    letGo();
    EXPECT_EQ(before("0"), expected);
}

// The time that newcomers have patience is for predecessors that do not finish.
TEST_F(SuccessorTest, ComesAsSoonAsItsPredecessorIsHeard) {
    pause = std::chrono::microseconds(50);
    const auto begin = std::chrono::steady_clock::now();
    for (std::ptrdiff_t round = 1; round <= 20; ++round) {
        {
            TestProxy first(1);
            ASSERT_FALSE(first.connect());
            for (int i = 0; i < 500; ++i) first.call(1);
        }
        TestProxy second(1);
        ASSERT_FALSE(second.connect());
        second.call(2);
        ASSERT_TRUE(log.waitFor("2", round));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15)) << "each waits for a second";
}

TEST_F(SuccessorTest, DoesNotHearOfAClientThatCameAndWentUnheard) {
    TestProxy first(1);
    connectAndHold(first);
    {
        TestProxy silent(1);
        ASSERT_FALSE(silent.connect());
        ASSERT_TRUE(silent.isAlive());
    }
    TestProxy last(1);
    ASSERT_FALSE(last.connect());
    last.call(2);
    letGo();
    EXPECT_EQ(before("2"), (std::vector<std::string>{"connected", "held", std::to_string(Hold), "connected"}));
}

TEST_F(SuccessorTest, DoesNotWaitForAPredecessorThatNeverFinishes) {
    const StandardError standardError;
    PlayedClient hostile(1);
    ASSERT_TRUE(hostile.connect() && hostile.greet());
    ASSERT_TRUE(log.waitFor("connected"));
    hostile.callInPart();
    hostile.leave();
    TestProxy next(1);
    ASSERT_FALSE(next.connect());
    next.call(2);
    EXPECT_EQ(before("2"), (std::vector<std::string>{"connected", "disconnected", "connected"}));
    EXPECT_TRUE(standardError.waitFor("while others wait"));
}

TEST_F(SuccessorTest, DoesNotWaitForAPredecessorThatGoesOnForEver) {
    // What an honest client has left to send at most.
    constexpr std::size_t Most = (Outbox::Limit + RingMemory::Capacity + MaxArray) / MiB;
    const StandardError standardError;
    PlayedClient hostile(1);
    ASSERT_TRUE(hostile.connect() && hostile.greet());
    ASSERT_TRUE(log.waitFor("connected"));
    hostile.leave();
    std::atomic<bool> enough{false};
    std::thread flood([&] {
        const std::vector<std::uint8_t> bytes(MiB);
        for (std::size_t i = 0; i < 4 * Most && !enough; ++i) {
            Outgoing call = callOf(bytes, 1);
            while (hostile.ring->write(call) == RingWriter::Result::Full && !enough) std::this_thread::yield();
        }
    });
    TestProxy next(1);
    ASSERT_FALSE(next.connect());
    next.call(2);
    const std::vector<std::string> events = before("2");
    enough = true;
    flood.join();
    EXPECT_EQ(std::ranges::count(events, "disconnected"), 1);
    EXPECT_LE(static_cast<std::size_t>(std::ranges::count(events, "1")), Most + Most / 10);
    EXPECT_TRUE(standardError.waitFor("it has left"));
}

TEST_F(SuccessorTest, IsHeardSoonHoweverMuchTheOthersHaveToSay) {
    constexpr int Flood = 4000;
    pause = std::chrono::microseconds(50);
    std::vector<std::unique_ptr<TestProxy>> flooding;
    for (int i = 0; i < 3; ++i) {
        flooding.push_back(std::make_unique<TestProxy>(1));
        ASSERT_FALSE(flooding.back()->connect());
        flooding.back()->call(3);
    }
    ASSERT_TRUE(log.waitFor("3", 3));
    flooding.front()->call(Hold);
    ASSERT_TRUE(log.waitFor("held"));
    for (const auto& proxy : flooding)
        for (int i = 0; i < Flood; ++i) proxy->call(1);
    TestProxy newcomer(1);
    ASSERT_FALSE(newcomer.connect());
    newcomer.call(2);
    letGo();
    // The round of reading that was begun, and the one after which it is the newcomer's turn.
    EXPECT_LE(std::ranges::count(before("2"), "1"), 1000);
}

}  // namespace
}  // namespace comm::transport
