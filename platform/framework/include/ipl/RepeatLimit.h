#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

#include "ipl/string.h"

namespace ipl {

/// Holds a message that keeps repeating back to one a second, so that a fault which lasts does not flood the output.
/// One object for each kind of message. Any thread.
class RepeatLimit {
  public:
    using Clock = std::chrono::steady_clock;

    /// Returns whether a message of the kind is to be printed at this time. The first one is, with its text unchanged;
    /// a later one then says in its text how many were held back since the last.
    [[nodiscard]] bool admit(string& text, Clock::time_point now = Clock::now());

    /// For the end, when no more come: returns whether some were held back since the last one that was printed; the
    /// text then says how many.
    [[nodiscard]] bool conclude(string& text);

  private:
    static constexpr std::chrono::seconds Interval{1};

    // Guards what follows.
    std::mutex m_mutex;
    Clock::time_point m_next = Clock::time_point::min();
    std::uint64_t m_heldBack = 0;
};

}  // namespace ipl
