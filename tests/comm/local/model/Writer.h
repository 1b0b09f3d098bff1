#pragma once

#include "SharedRing.h"

namespace model {

/// `RingWriter`, reduced to its protocol.
class Writer {
  public:
    Writer(SharedRing& ring, const Variant& variant) : m_ring(ring), m_variant(variant), m_orders(variant.orders) {}

    void write(int record) {
        while (!makeRoom()) awaitAnswer();
        if (!m_variant.recordComesFirst) publish(m_tail + 1);
        place(record);
        ++m_tail;
        publish(m_tail);
    }

    void tidy() {
        look();
        if (m_variant.discardsOnlyIfEmpty && m_head != m_tail) return;
        if (m_tail != 0) beginAnew();
        publish(m_tail);
        for (int place = Small; place < m_ring.places; ++place) m_ring.records[place](RL_INFO) = SharedRing::Discarded;
    }

  private:
    static constexpr int Small = 1;
    static constexpr int Stride = 2;

    bool makeRoom() {
        if (fits()) return true;
        ++m_questions;
        m_ring.writerWaits.store(1, m_orders.askForRoom);
        return m_variant.writerLooksAgain && fits();
    }

    void awaitAnswer() {
        m_ring.room.wait(false, false, RL_INFO);
        ++m_answers;
        RL_ASSERT(m_answers <= m_questions);
    }

    bool fits() {
        if (worthALook()) look();
        if (m_tail < m_head) return m_tail + 1 + gap() <= m_head;
        if ((m_tail == m_head || !m_variant.anewOnlyIfEmpty) && m_tail >= Stride) beginAnew();
        if (fitsAtEnd()) return true;
        if (1 + gap() > m_head) return false;
        if (m_variant.marksTheEnd) place(SharedRing::Wrap);
        m_tail = 0;
        return true;
    }

    // When there may be room without a look, the real one is sparing with them; here any number is tried.
    bool worthALook() const {
        const bool mustLook = m_tail < m_head ? m_tail + 1 + gap() > m_head : !fitsAtEnd();
        return mustLook || rl::rand(2) == 0;
    }
    bool fitsAtEnd() const { return m_tail + 2 <= m_ring.places; }
    int gap() const { return m_variant.fullIsNotEmpty ? 1 : 0; }

    void place(int record) { m_ring.records[m_tail](RL_INFO) = record; }

    void beginAnew() {
        if (m_variant.countsGenerations) ++m_generation;
        m_head = 0;
        m_tail = 0;
    }

    void look() {
        const Position head = m_ring.head.load(m_orders.lookAtHead);
        if (m_variant.toleratesOldHead && head.generation + 1 == m_generation) return;
        const bool behind = head.offset < m_head;
        const bool beyond = head.offset > m_tail;
        const bool possible = m_tail >= m_head ? !behind && !beyond : !behind || !beyond;
        RL_ASSERT(possible && head.generation == m_generation);
        m_head = head.offset;
    }

    void publish(int tail) {
        m_ring.tail.store({tail, m_generation}, m_orders.publishTail);
        if (m_ring.readerSleeps.load(m_orders.lookForSleeper) != 0 &&
            m_ring.readerSleeps.exchange(0, m_orders.wakeSleeper) != 0)
            m_ring.bell.set(RL_INFO);
    }

    SharedRing& m_ring;
    const Variant& m_variant;
    const comm::transport::RingOrders& m_orders;
    int m_generation = 0;
    int m_tail = 0;
    int m_head = 0;
    int m_questions = 0;
    int m_answers = 0;
};

}  // namespace model
