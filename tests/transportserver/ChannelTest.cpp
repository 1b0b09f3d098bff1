#include <array>
#include <cerrno>
#include <vector>

#include "ChannelTable.h"
#include "TestRequests.h"

using transport::Channel;
using namespace std::chrono_literals;

namespace {

constexpr std::size_t Capacity = 4U << 20;
constexpr std::size_t Large = 1U << 20;
constexpr auto IdleTime = 1000ms;
const Outcome Taken{0, ""};
const Outcome EndOfFile{0, ""};

// A stretch of a stream in which each byte tells its place.
std::string stretch(std::size_t from, std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((from + i) % 251);
    return bytes;
}

class ChannelTest : public testing::Test {
  protected:
    ChannelTest() { channel.addWriter(); }

    Pending read(std::size_t size) { return ::read(channel, reader, size, now); }
    Pending write(const std::string& bytes) { return ::write(channel, bytes, now); }

    Channel channel{{Capacity, IdleTime}};
    Channel::Reader reader = channel.addReader();
    Channel::TimePoint now = std::chrono::steady_clock::now();
};

TEST_F(ChannelTest, BytesOfAllSizesArriveInOrder) {
    const std::array<std::size_t, 9> sizes = {1, 65535, 2, 65536, Large, 70000, Large - 1, 983039, 983040};
    std::size_t written = 0;
    std::size_t taken = 0;
    for (std::size_t round = 0; round < 50; ++round) {
        for (int i = 0; i < 3; ++i) {
            const std::size_t size = sizes[(round + static_cast<std::size_t>(i) * 4) % sizes.size()];
            ASSERT_EQ(write(stretch(written, size)).outcome(), Taken);
            written += size;
        }
        while (taken < written) {
            const std::string bytes = read(sizes[(taken + round) % sizes.size()]).outcome().bytes;
            ASSERT_EQ(bytes, stretch(taken, bytes.size()));
            ASSERT_FALSE(bytes.empty());
            taken += bytes.size();
        }
    }
}

TEST_F(ChannelTest, WaitingReadsShareWhatIsWrittenInTheirOrder) {
    for (const std::size_t size : {std::size_t{6}, Large + 6}) {
        Pending first = read(4);
        Pending second = read(1);
        EXPECT_FALSE(first.isAnswered());
        EXPECT_EQ(write(stretch(0, size)).outcome(), Taken);
        EXPECT_EQ(first.outcome().bytes, stretch(0, 4));
        EXPECT_EQ(second.outcome().bytes, stretch(4, 1));
        EXPECT_EQ(read(2 * Large).outcome().bytes, stretch(5, size - 5));
    }
}

TEST_F(ChannelTest, WritesWaitUntilTheyFitAsAWhole) {
    EXPECT_EQ(write(stretch(0, Capacity - 10)).outcome(), Taken);
    Pending large = write(stretch(Capacity - 10, Large));
    Pending small = write("0123456789");
    EXPECT_FALSE(large.isAnswered());
    EXPECT_FALSE(small.isAnswered()) << "it must not overtake";
    EXPECT_EQ(read(Large - 11).outcome().error, 0);
    EXPECT_FALSE(large.isAnswered());
    EXPECT_EQ(read(1).outcome().error, 0);
    EXPECT_EQ(large.outcome(), Taken);
    EXPECT_FALSE(small.isAnswered());
    EXPECT_EQ(read(Capacity).outcome().bytes, stretch(Large - 10, Capacity));
    EXPECT_EQ(small.outcome(), Taken);
    EXPECT_EQ(read(Capacity).outcome().bytes, "0123456789");
}

TEST_F(ChannelTest, WriteBeyondTheCapacityPassesAlone) {
    Channel tiny({10, IdleTime});
    tiny.addWriter();
    const Channel::Reader any = tiny.addReader();
    EXPECT_EQ(::write(tiny, stretch(0, 100), now).outcome(), Taken);
    Pending next = ::write(tiny, "next", now);
    EXPECT_EQ(::read(tiny, any, 99, now).outcome().bytes, stretch(0, 99));
    EXPECT_EQ(next.outcome(), Taken);
    EXPECT_EQ(::read(tiny, any, 99, now).outcome().bytes, stretch(99, 1) + "next");
}

TEST_F(ChannelTest, FileEndsWhenItsWritersHaveGoneAndAllIsRead) {
    channel.addWriter();
    EXPECT_EQ(write("last").outcome(), Taken);
    channel.removeWriter();
    EXPECT_EQ(read(10).outcome().bytes, "last");
    Pending waiting = read(10);
    EXPECT_FALSE(waiting.isAnswered());
    channel.removeWriter();
    EXPECT_EQ(waiting.outcome(), EndOfFile);
    EXPECT_EQ(read(10).outcome(), EndOfFile);

    channel.addWriter();
    Pending again = read(10);
    EXPECT_FALSE(again.isAnswered());
    EXPECT_EQ(write("more").outcome(), Taken);
    EXPECT_EQ(again.outcome().bytes, "more");
}

TEST_F(ChannelTest, ReaderThatComesLateGetsWhatIsLeftAndThenTheEnd) {
    EXPECT_EQ(write("left").outcome(), Taken);
    channel.removeWriter();
    reader = channel.addReader();
    EXPECT_EQ(read(10).outcome().bytes, "left");
    EXPECT_EQ(read(10).outcome(), EndOfFile);

    reader = channel.addReader();
    EXPECT_FALSE(read(10).isAnswered()) << "nothing that it could have read has ended";
}

TEST_F(ChannelTest, WaitsEndAfterTheIdleTimeAndNotBefore) {
    Pending first = read(10);
    now += 1ms;
    Pending second = read(10);
    EXPECT_EQ(first.due, now - 1ms + IdleTime);
    EXPECT_EQ(channel.expire(*first.due - 1ns), first.due);
    EXPECT_FALSE(first.isAnswered());
    EXPECT_EQ(channel.expire(*first.due), second.due);
    EXPECT_EQ(first.outcome(), EndOfFile);
    EXPECT_FALSE(second.isAnswered());
    EXPECT_EQ(channel.expire(*second.due), std::nullopt);
    EXPECT_EQ(second.outcome(), EndOfFile);
}

TEST_F(ChannelTest, WriteThatRunsOutOfTimeLeavesNothingAndLetsTheNextPass) {
    EXPECT_EQ(write(stretch(0, Capacity - 10)).outcome(), Taken);
    Pending late = write(stretch(0, Large));
    now += 1ms;
    Pending small = write("0123456789");
    EXPECT_EQ(channel.expire(*late.due), std::nullopt);
    EXPECT_EQ(late.outcome().error, ETIMEDOUT);
    EXPECT_EQ(small.outcome(), Taken);
    EXPECT_EQ(read(2 * Capacity).outcome().bytes, stretch(0, Capacity - 10) + "0123456789");
}

TEST_F(ChannelTest, InterruptedRequestIsTakenBackUnanswered) {
    Pending reading = read(10);
    EXPECT_EQ(channel.withdraw(*reading.request).get(), reading.request);
    EXPECT_EQ(write(stretch(0, Capacity)).outcome(), Taken);
    Pending writing = write(stretch(0, Large));
    Pending next = write("next");
    EXPECT_EQ(read(10).outcome().error, 0);
    EXPECT_FALSE(next.isAnswered());
    EXPECT_EQ(channel.withdraw(*writing.request).get(), writing.request);
    EXPECT_EQ(next.outcome(), Taken) << "nothing is before it any more";
    EXPECT_EQ(channel.expire(now + 2 * IdleTime), std::nullopt);
    EXPECT_EQ(read(2 * Capacity).outcome().bytes, stretch(10, Capacity - 10) + "next");
}

TEST_F(ChannelTest, InterruptionThatComesBeforeTheRequestKeepsItFromWaiting) {
    const auto readInterrupted = [this] {
        auto request = std::make_unique<TestRead>();
        auto outcome = request->promise.get_future();
        EXPECT_EQ(channel.withdraw(*request), nullptr);
        (void)channel.read(reader, 10, std::move(request), now);
        return outcome.get();
    };
    EXPECT_EQ(readInterrupted().error, EINTR);
    EXPECT_EQ(write("there").outcome(), Taken);
    EXPECT_EQ(readInterrupted().bytes, "there") << "what is there is given, and not lost";
}

TEST_F(ChannelTest, AbortAnswersAllThatWaits) {
    std::vector<Pending> waiting;
    waiting.push_back(read(10));
    waiting.push_back(read(10));
    channel.abort(ECONNABORTED);
    EXPECT_EQ(write(stretch(0, Capacity)).outcome(), Taken);
    waiting.push_back(write("more"));
    channel.abort(ECONNABORTED);
    for (Pending& pending : waiting) EXPECT_EQ(pending.outcome().error, ECONNABORTED);
}

TEST(ChannelTableTest, ChannelLivesWhileItIsUsedOrHoldsBytes) {
    transport::ChannelTable table({Capacity, IdleTime});
    const auto now = std::chrono::steady_clock::now();
    const std::vector<std::string> usual{"zidfile"};
    const std::vector<std::string> both{"other", "zidfile"};
    Channel::Reader reader{};

    const auto channel = table.openForWriting("other");
    EXPECT_EQ(table.names(), both);
    EXPECT_EQ(write(*channel, "bytes", now).outcome(), Taken);
    channel->removeWriter();
    table.removeUnused("other");
    EXPECT_EQ(table.names(), both);

    ASSERT_EQ(table.openForReading("other", reader), channel);
    EXPECT_EQ(read(*channel, reader, 10, now).outcome().bytes, "bytes");
    table.removeUnused("other");
    EXPECT_EQ(table.names(), both);
    channel->removeReader();
    table.removeUnused("other");
    table.removeUnused("zidfile");
    EXPECT_EQ(table.names(), usual);
    EXPECT_NE(table.openForReading("other", reader), channel);
}

TEST(ChannelTableTest, ExpiresAllChannelsAndTellsTheNextTime) {
    transport::ChannelTable table({Capacity, IdleTime});
    const auto now = std::chrono::steady_clock::now();
    Channel::Reader reader{};
    Pending later = read(*table.openForReading("a", reader), reader, 10, now + 5ms);
    Pending sooner = read(*table.openForReading("b", reader), reader, 10, now);
    EXPECT_EQ(table.expire(now), now + IdleTime);
    EXPECT_EQ(table.expire(now + IdleTime), now + IdleTime + 5ms);
    EXPECT_EQ(sooner.outcome(), EndOfFile);
    EXPECT_FALSE(later.isAnswered());
    table.abort(ECONNABORTED);
    EXPECT_EQ(later.outcome().error, ECONNABORTED);
}

}  // namespace
