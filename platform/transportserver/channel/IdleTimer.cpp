#include "IdleTimer.h"

namespace transport {

int IdleTimer::start() {
    return m_thread.start([this] { run(); });
}

void IdleTimer::stop() {
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void IdleTimer::arm(TimePoint due) {
    if (m_isArmed) return;
    {
        const std::lock_guard lock(m_mutex);
        armLocked(due);
    }
    m_changed.notify_one();
}

void IdleTimer::armLocked(TimePoint due) {
    if (!m_isArmed || due < m_due) m_due = due;
    m_isArmed = true;
}

void IdleTimer::run() {
    std::unique_lock lock(m_mutex);
    while (!m_isStopping) {
        const TimePoint now = std::chrono::steady_clock::now();
        if (!m_isArmed) {
            m_changed.wait(lock);
        } else if (now < m_due) {
            m_changed.wait_until(lock, m_due);
        } else {
            // Before the call, which may pass by what is armed during it.
            m_isArmed = false;
            lock.unlock();
            const std::optional<TimePoint> next = m_expire(now);
            lock.lock();
            if (next) armLocked(*next);
        }
    }
}

}  // namespace transport
