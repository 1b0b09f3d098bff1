#pragma once

#include "SharedRing.h"

namespace model {

/// `RingReader` and the thread that it runs on, reduced to their protocol.
class Reader {
  public:
    Reader(SharedRing& ring, const Variant& variant) : m_ring(ring), m_variant(variant), m_orders(variant.orders) {}

    /// Until so many records have come, each once and in order.
    void readAll(int records) {
        while (m_next != records) {
            if (read())
                answer();
            else
                sleep();
        }
    }

  private:
    bool read() {
        const Position tail = m_ring.tail.load(m_orders.lookAtTail);
        if (tail == m_position) return false;
        follow(tail);
        // There need not be a record, and a round need not go to the tail.
        while (m_position.offset != tail.offset && rl::rand(8) != 0) take();
        return true;
    }

    void follow(Position tail) {
        if (tail.generation == m_position.generation + 1) {
            m_position.generation = tail.generation;
            moveTo(0);
        }
        RL_ASSERT(tail.generation == m_position.generation);
    }

    void take() {
        const int record = m_ring.records[m_position.offset](RL_INFO);
        if (record == SharedRing::Wrap) return moveTo(0);
        RL_ASSERT(record == m_next);
        ++m_next;
        moveTo(m_position.offset + 1);
    }

    void moveTo(int offset) {
        m_position.offset = offset;
        m_ring.head.store(m_position, m_orders.freeRecord);
    }

    void answer() {
        m_ring.head.store(m_position, m_orders.publishHead);
        if (m_ring.writerWaits.load(m_orders.lookForWaiter) == 0) return;
        if (m_ring.writerWaits.exchange(0, m_orders.answerWaiter) == 0) return;
        unsigned before = 0;
        m_ring.room.post(1, before, RL_INFO);
    }

    void sleep() {
        m_ring.readerSleeps.store(1, m_orders.raiseSleep);
        if (!m_variant.readerLooksAgain || m_ring.tail.load(m_orders.lookAgainAtTail) == m_position)
            m_ring.bell.wait(false, false, RL_INFO);
        if (m_ring.readerSleeps.load(m_orders.lowerSleep) != 0) m_ring.readerSleeps.store(0, m_orders.lowerSleep);
    }

    SharedRing& m_ring;
    const Variant& m_variant;
    const comm::transport::RingOrders& m_orders;
    Position m_position;
    int m_next = 0;
};

}  // namespace model
