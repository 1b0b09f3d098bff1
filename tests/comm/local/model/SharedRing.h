#pragma once

#include <ostream>

#include "Variant.h"
#include "relacy/relacy.hpp"

namespace model {

struct Position {
    int offset = 0;
    int generation = 0;

    friend bool operator==(const Position&, const Position&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Position& position) {
        return out << position.offset << " of " << position.generation;
    }
};

constexpr rl::memory_order modelled(std::memory_order order) {
    switch (order) {
        case std::memory_order::relaxed:
            return rl::mo_relaxed;
        case std::memory_order::acquire:
            return rl::mo_acquire;
        case std::memory_order::release:
            return rl::mo_release;
        default:
            return rl::mo_seq_cst;
    }
}

/// An atomic object whose orders are those of the shipped code.
template <class T>
class Atomic {
  public:
    T load(std::memory_order order) const { return m_value.load(modelled(order), RL_INFO); }
    void store(T value, std::memory_order order) { m_value.store(value, modelled(order), RL_INFO); }
    T exchange(T value, std::memory_order order) { return m_value.exchange(value, modelled(order), RL_INFO); }

  private:
    rl::atomic<T> m_value;
};

/// What both sides share. Each record takes one place; the last place is for the one that leads to the beginning.
struct SharedRing {
    static constexpr int MaxPlaces = 5;
    static constexpr int Wrap = -1;
    static constexpr int Discarded = -2;

    void open(int size) {
        places = size;
        for (Atomic<Position>* position : {&tail, &head}) position->store({}, std::memory_order::relaxed);
        for (Atomic<int>* flag : {&readerSleeps, &writerWaits}) flag->store(0, std::memory_order::relaxed);
        bell.init(false, false, RL_INFO);
        room.init(false, 0, Many, RL_INFO);
    }
    void close() {
        bell.deinit(RL_INFO);
        room.deinit(RL_INFO);
    }

    int places = 0;  // in the ring
    Atomic<Position> tail;
    Atomic<Position> head;
    Atomic<int> readerSleeps;
    Atomic<int> writerWaits;
    rl::var<int> records[MaxPlaces];  // ordered by nothing of their own, so a race for one is reported
    rl::generic_event bell;           // the doorbell, watched for edges
    rl::semaphore<void> room;         // the bytes through the socket

  private:
    static constexpr unsigned Many = 1000;
};

}  // namespace model
