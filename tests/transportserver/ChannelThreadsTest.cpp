#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>
#include <vector>

#include "Channel.h"
#include "IdleTimer.h"
#include "TestRequests.h"

using transport::Channel;
using namespace std::chrono_literals;

namespace {

// What the writers write: each its own sequence, in records of one size, so that each read gets whole ones.
struct Record {
    std::size_t writer;
    std::size_t number;
};

constexpr std::size_t Writers = 3;
constexpr std::size_t Readers = 3;
constexpr std::size_t Records = 3000;

std::string bytesOf(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

class ChannelThreadsTest : public testing::Test {
  protected:
    // Writes that run out of time are made again.
    void writeAll(std::size_t writer) {
        for (std::size_t number = 0; number < Records;) {
            Pending pending = write(channel, bytesOf({writer, number}), std::chrono::steady_clock::now());
            if (pending.due) timer.arm(*pending.due);
            const int error = pending.outcome().error;
            ASSERT_TRUE(error == 0 || error == ETIMEDOUT) << error;
            if (error == 0) ++number;
        }
        channel.removeWriter();
    }

    // The next number that a reader may see of each writer never goes back.
    void readAll() {
        const Channel::Reader reader = channel.addReader();
        std::array<std::size_t, Writers> next{};
        while (received < Writers * Records) {
            Pending pending = read(channel, reader, sizeof(Record) * 5, std::chrono::steady_clock::now());
            if (pending.due) timer.arm(*pending.due);
            const std::string bytes = pending.outcome().bytes;
            ASSERT_EQ(bytes.size() % sizeof(Record), 0U);
            for (std::size_t i = 0; i < bytes.size(); i += sizeof(Record)) check(bytes.data() + i, next);
        }
        channel.removeReader();
    }

    void check(const char* bytes, std::array<std::size_t, Writers>& next) {
        Record record{};
        std::memcpy(&record, bytes, sizeof record);
        ASSERT_LT(record.writer, Writers);
        ASSERT_GE(record.number, next[record.writer]);
        next[record.writer] = record.number + 1;
        seen[record.writer][record.number].fetch_add(1);
        ++received;
    }

    Channel channel{{sizeof(Record) * 8, 1ms}};
    transport::IdleTimer timer{[this](Channel::TimePoint now) { return channel.expire(now); }};
    std::atomic<std::size_t> received{0};
    std::array<std::array<std::atomic<int>, Records>, Writers> seen{};
};

TEST_F(ChannelThreadsTest, EveryRecordArrivesOnceAndInItsWritersOrder) {
    ASSERT_EQ(timer.start(), 0);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < Writers; ++i) channel.addWriter();
    for (std::size_t i = 0; i < Writers; ++i) threads.emplace_back([this, i] { writeAll(i); });
    for (std::size_t i = 0; i < Readers; ++i) threads.emplace_back([this] { readAll(); });
    for (std::thread& thread : threads) thread.join();
    for (const auto& writer : seen)
        for (const auto& count : writer) ASSERT_EQ(count, 1);
    EXPECT_TRUE(channel.isUnused());
}

TEST(IdleTimerTest, CallsAtTheTimeThatWasArmedAndThenAtTheOneThatIsReturned) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point first = Clock::now() + 20ms;
    const Clock::time_point second = first + 20ms;
    std::vector<Clock::time_point> calls;
    std::promise<void> done;
    {
        transport::IdleTimer timer([&](Clock::time_point now) -> std::optional<Clock::time_point> {
            calls.push_back(now);
            if (calls.size() == 1) return second;
            done.set_value();
            return std::nullopt;
        });
        ASSERT_EQ(timer.start(), 0);
        timer.arm(first);
        timer.arm(second);
        EXPECT_EQ(done.get_future().wait_for(30s), std::future_status::ready);
    }
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_GE(calls[0], first);
    EXPECT_GE(calls[1], second);
}

}  // namespace
