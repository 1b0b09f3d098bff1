#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <latch>
#include <thread>
#include <vector>

#include "EventLog.h"
#include "comm/CallbackTurn.h"

namespace comm {
namespace {

// Runs it on a thread of its own.
template <class Body>
std::future<void> inBackground(Body body) {
    return std::async(std::launch::async, std::move(body));
}

// A test that hangs here ends the program, since nothing can make the thread return.
void expectReturn(std::future<void>& thread, const char* what) {
    if (thread.wait_for(Watchdog) == std::future_status::ready) return;
    ADD_FAILURE() << what << " does not return";
    std::abort();
}

void waitUntilEnded(const CallbackTurn& turn) {
    while (!turn.ended()) std::this_thread::yield();
}

// Long enough for another thread to return, if it is wrong enough not to wait.
void giveItAChance() {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
}

TEST(CallbackTurnTest, BelongsToOneThreadAtATime) {
    CallbackTurn turn;
    EXPECT_FALSE(turn.isMine());
    ASSERT_TRUE(turn.enter());
    EXPECT_TRUE(turn.isMine());
    std::atomic<bool> left{false};
    std::latch tried(1);
    auto other = inBackground([&] {
        EXPECT_FALSE(turn.tryEnter());
        EXPECT_FALSE(turn.isMine());
        tried.count_down();
        EXPECT_TRUE(turn.enter());
        EXPECT_TRUE(left) << "two threads have the turn";
        turn.leave();
    });
    tried.wait();
    giveItAChance();
    left = true;
    turn.leave();
    expectReturn(other, "enter");
    EXPECT_TRUE(turn.tryEnter());
}

TEST(CallbackTurnTest, IsTakenByNobodyOnceItHasEnded) {
    CallbackTurn turn;
    ASSERT_TRUE(turn.enter());
    std::latch begun(1);
    auto late = inBackground([&] {
        begun.count_down();
        EXPECT_FALSE(turn.enter());
    });
    begun.wait();
    giveItAChance();
    turn.end();  // by the callback itself, which does not wait for itself
    EXPECT_TRUE(turn.ended());
    EXPECT_TRUE(turn.isMine());
    turn.leave();
    expectReturn(late, "enter after the end");
    EXPECT_FALSE(turn.enter());
    EXPECT_FALSE(turn.tryEnter());
    EXPECT_FALSE(turn.isMine());
}

TEST(CallbackTurnTest, EachOfSeveralThatEndItWaitsForTheCallback) {
    CallbackTurn turn;
    std::atomic<bool> returned{false};
    std::latch inside(1);
    auto callback = inBackground([&] {
        EXPECT_TRUE(turn.enter());
        inside.count_down();
        waitUntilEnded(turn);
        giveItAChance();
        returned = true;
        turn.leave();
    });
    inside.wait();
    // The second one has a turn itself, for which nobody waits.
    CallbackTurn own;
    auto second = inBackground([&] {
        EXPECT_TRUE(own.enter());
        turn.end();
        EXPECT_TRUE(returned) << "a second end does not wait";
        own.leave();
    });
    turn.end();
    EXPECT_TRUE(returned) << "the end does not wait";
    expectReturn(second, "end");
    expectReturn(callback, "the callback");
}

// Callbacks that all run before each of them ends the next one's turn.
class Circle {
  public:
    explicit Circle(std::size_t size) : m_turns(size), m_inside(static_cast<std::ptrdiff_t>(size)) {}

    void run() {
        std::vector<std::future<void>> callbacks;
        for (std::size_t i = 0; i < m_turns.size(); ++i) callbacks.push_back(inBackground([this, i] { callback(i); }));
        m_inside.wait();
        auto outsider = inBackground([this] {
            for (CallbackTurn& turn : m_turns) turn.end();
            EXPECT_EQ(m_returned, m_turns.size()) << "who is in no circle does not wait for each callback";
        });
        expectReturn(outsider, "end");
        for (auto& callback : callbacks) expectReturn(callback, "a callback in a circle");
        EXPECT_EQ(m_withoutWait, 1U) << "only the wait that closes the circle is to be left out";
    }

  private:
    void callback(std::size_t i) {
        CallbackTurn& next = m_turns[(i + 1) % m_turns.size()];
        EXPECT_TRUE(m_turns[i].enter());
        m_inside.arrive_and_wait();
        next.end();
        if (m_returned == 0) ++m_withoutWait;
        giveItAChance();
        ++m_returned;
        m_turns[i].leave();
    }

    std::vector<CallbackTurn> m_turns;
    std::latch m_inside;
    std::atomic<std::size_t> m_returned{0};
    std::atomic<std::size_t> m_withoutWait{0};
};

TEST(CallbackTurnTest, TwoCallbacksMayEndEachOthersTurns) {
    Circle(2).run();
}

TEST(CallbackTurnTest, ThreeCallbacksMayEndTheirTurnsInACircle) {
    Circle(3).run();
}

}  // namespace
}  // namespace comm
