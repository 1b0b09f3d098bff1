#pragma once

#include <atomic>

namespace comm::transport {

/// Wakes the one thread that waits for it. Raised before the wait, it ends the wait at once.
class Signal {
  public:
    /// Any thread.
    void raise() {
        if (m_raised.load() == 0 && m_raised.exchange(1) == 0) m_raised.notify_one();
    }

    bool raised() const { return m_raised.load() != 0; }
    void wait() const { m_raised.wait(0); }
    /// Takes it back, before its thread looks at what it was raised for.
    void clear() { m_raised.store(0); }

  private:
    std::atomic<int> m_raised{0};  // of a width that the system can wait for
};

}  // namespace comm::transport
