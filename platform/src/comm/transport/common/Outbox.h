#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>

#include "Outgoing.h"

namespace comm::transport {

/// The calls that a connection had no room for, in order. Not safe for several threads at once.
class Outbox {
  public:
    /// What it holds at most: a whole burst of the largest kind that the bench sends, and then some.
    static constexpr std::size_t Limit = 160U << 20;

    bool empty() const { return m_calls.empty(); }
    bool full() const { return m_size > Limit; }
    void clear();

    /// Appends a copy of what is left of a call. True when there is no memory for it.
    bool append(const Outgoing& call);

    /// Hands what is waiting to `write(Outgoing&)` in order, as long as that takes all of a call and returns true.
    template <class Write>
    void flush(Write write) {
        while (!m_calls.empty() && write(m_calls.front().call)) pop();
    }

  private:
    struct Kept {
        std::unique_ptr<std::uint8_t[]> bytes;
        std::size_t size;  // what it counts for
        Outgoing call;
    };

    void pop();

    std::deque<Kept> m_calls;
    std::size_t m_size = 0;
};

}  // namespace comm::transport
