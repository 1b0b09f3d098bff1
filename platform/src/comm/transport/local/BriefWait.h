#pragma once

#include <sched.h>

#include <algorithm>
#include <chrono>

namespace comm::transport {

/// Looks out for work for a moment before its thread goes to sleep, as long as waits are short on average: then the
/// work comes sooner than a sleeper could be woken, and at less expense. One thread.
///
/// It yields to other threads between two looks. So it costs nobody anything who has something to do, above all not the
/// peer on the same processor whose work it waits for.
class BriefWait {
  public:
    /// Looks until `ready()` says that there is work. False when that takes too long or is not worth the try: the
    /// thread should sleep then.
    template <class Ready>
    bool wait(Ready ready) {
        m_begin = Clock::now();
        if (m_mean >= Longest) return false;
        do {
            if (ready()) {
                ended();
                return true;
            }
            ::sched_yield();
        } while (Clock::now() - m_begin < Longest);
        return false;
    }

    /// Tells that work has come at last after a wait in vain. The mean of the waits, and not the success of the last
    /// try, decides on the next one: it rises when tries fail and falls again when sleeps turn out short.
    void ended() {
        const Clock::duration length = std::min<Clock::duration>(Clock::now() - m_begin, 4 * Longest);
        m_mean += (length - m_mean) / 8;
    }

  private:
    using Clock = std::chrono::steady_clock;

    // Several times what it takes to wake a sleeping thread.
    static constexpr std::chrono::microseconds Longest{60};

    Clock::time_point m_begin;
    Clock::duration m_mean{0};
};

}  // namespace comm::transport
