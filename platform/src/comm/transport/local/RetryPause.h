#pragma once

#include <algorithm>
#include <chrono>

namespace comm::transport {

/// How long to wait before the next try of something that keeps failing. Not safe for several threads at once.
class RetryPause {
  public:
    /// The pause before the next try, each twice as long as the last up to a second.
    std::chrono::milliseconds next() {
        const std::chrono::milliseconds pause = m_next;
        m_next = std::min(2 * m_next, Longest);
        return pause;
    }

    /// To be called when it has worked.
    void reset() { m_next = Shortest; }

  private:
    static constexpr std::chrono::milliseconds Shortest{10};
    static constexpr std::chrono::milliseconds Longest{1000};

    std::chrono::milliseconds m_next = Shortest;
};

}  // namespace comm::transport
