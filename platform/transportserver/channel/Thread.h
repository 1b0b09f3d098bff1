#pragma once

#include <pthread.h>

#include <functional>

namespace transport {

/// A thread whose making may fail without an exception. Its owner starts and joins it, one call at a time.
class Thread {
  public:
    Thread() = default;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    ~Thread() { join(); }

    /// Runs the function on a thread of its own; call it once. Returns 0, or why there is none, as in `errno`.
    [[nodiscard]] int start(std::function<void()> run);
    /// Waits until the function has returned. Does nothing without a thread.
    void join();
    /// Sends a signal to the thread, which must have been started and not joined.
    void signal(int number) const;

  private:
    std::function<void()> m_run;
    pthread_t m_thread{};
    bool m_isStarted = false;
};

}  // namespace transport
