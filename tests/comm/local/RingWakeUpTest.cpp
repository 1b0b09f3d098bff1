#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include "Epoll.h"
#include "Traffic.h"

namespace comm::transport {
namespace {

// Waits for a doorbell as the dispatch thread does.
class Sleeper {
  public:
    explicit Sleeper(const Doorbell& bell) {
        EXPECT_FALSE(m_epoll.open() || m_epoll.set(bell.fd(), 1, Doorbell::Events));
    }
    /// False when nobody rings.
    bool sleep() { return !m_epoll.wait(30000).empty(); }

  private:
    Epoll m_epoll;
};

// A writing thread and a reading one, each of which sleeps until the other one wakes it. That no schedule lets one of
// them sleep for ever is proven by the model of the ring; this tries the code as it is compiled.
class RingWakeUpTest : public testing::Test, private RingReader::Sink {
  protected:
    // Sends calls of that size until the reader has slept, and the writer has waited, so often.
    void soak(std::uint32_t size, int sleeps, int waits) {
        std::thread writer([&] { write(std::vector<std::uint8_t>(size), waits == 0); });
        Sleeper sleeper(m_ring.bell);
        for (bool last = false, any = true; any || !last;) {
            last = m_ended;
            any = m_reader.read(*this) == RingReader::Result::Read;
            if (any && m_reader.writerWaits()) m_room.ring();
            if (!any && !last && (waits == 0 ? sleepInVain(sleeper) : readNothingUntilTheRingIsFull())) break;
            if (m_sleeps >= sleeps && m_waits >= waits) m_enough = true;
        }
        m_enough = true;
        m_room.ring();
        writer.join();
    }

  private:
    void write(const std::vector<std::uint8_t>& bytes, bool pauses) {
        std::minstd_rand random(1);  // NOLINT(bugprone-random-generator-seed): the same pauses every time
        RingWriter writer = m_ring.writer();
        Sleeper room(m_room);
        for (std::uint16_t number = 0; !m_enough; ++number) {
            Outgoing call = callOf(bytes, number);
            while (writer.write(call) == RingWriter::Result::Full && !m_enough) wait(room);
            if (pauses) pause(random() % 512);
        }
        m_ended = true;
        m_ring.bell.ring();
    }

    // Until the reader has read all, and then about as long as it takes to fall asleep.
    void pause(unsigned length) {
        const RingControl& control = m_ring.control();
        while (control.head.load() != control.tail.load() && !m_enough) std::this_thread::yield();
        while (length-- > 0) std::atomic_signal_fence(std::memory_order_seq_cst);
    }

    void wait(Sleeper& room) {
        ++m_waits;
        if (room.sleep()) return;
        ADD_FAILURE() << "nobody tells the writer of room";
        m_enough = true;
    }

    bool sleepInVain(Sleeper& sleeper) {
        if (!m_reader.fallAsleep()) return false;
        ++m_sleeps;
        if (!sleeper.sleep()) ADD_FAILURE() << "nobody wakes the reader";
        m_reader.wakeUp();
        return HasFailure();
    }

    bool readNothingUntilTheRingIsFull() {
        while (m_ring.control().writerWaits.load() == 0 && !m_ended && !m_enough) std::this_thread::yield();
        return HasFailure();
    }

    bool received(const Message& message) override {
        EXPECT_EQ(message.handleSize, m_next++);
        return false;
    }

    TestRing m_ring;
    Doorbell m_room;  // stands for the byte through the socket
    RingReader m_reader{m_ring.share()};
    std::atomic<bool> m_enough{m_room.create()};
    std::atomic<bool> m_ended{false};
    std::atomic<int> m_waits{0};
    int m_sleeps = 0;
    std::uint16_t m_next = 0;
};

TEST_F(RingWakeUpTest, ASleepingReaderIsAlwaysWoken) {
    soak(8, 2000, 0);
}

TEST_F(RingWakeUpTest, AWriterThatWaitsIsAlwaysTold) {
    soak(3U << 20, 0, 5);
}

}  // namespace
}  // namespace comm::transport
