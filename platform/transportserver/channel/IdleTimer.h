#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>

#include "Thread.h"

namespace transport {

/// Calls a function on a thread of its own when something is due. The thread sleeps while nothing is.
class IdleTimer {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;
    /// Does what is due now and returns when it is to be called next, if ever.
    using Expire = std::function<std::optional<TimePoint>(TimePoint now)>;

    explicit IdleTimer(Expire expire) : m_expire(std::move(expire)) {}
    IdleTimer(const IdleTimer&) = delete;
    IdleTimer& operator=(const IdleTimer&) = delete;
    ~IdleTimer() { stop(); }

    /// Makes the thread; call it once. Returns 0, or why there is none, as in `errno`.
    [[nodiscard]] int start();
    /// Waits for a call that runs, and no further one comes. Not to be called by two threads at once.
    void stop();

    /// The function is called at this time or before. Any thread may call it, each with times that do not go back.
    void arm(TimePoint due);

  private:
    void run();
    void armLocked(TimePoint due);

    const Expire m_expire;
    std::mutex m_mutex;  // guards the two below, and the change of m_isArmed
    TimePoint m_due;
    bool m_isStopping = false;
    std::atomic<bool> m_isArmed{false};  // what is armed already is due before all that is armed now
    std::condition_variable m_changed;
    Thread m_thread;
};

}  // namespace transport
