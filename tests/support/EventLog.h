#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

/// How long a test waits for what must come. Only a broken program makes it wait that long.
constexpr std::chrono::seconds Watchdog{30};

/// What happened, in order, as lines of text that a test can wait for. Any thread.
class EventLog {
  public:
    void add(std::string event) {
        const std::scoped_lock lock(m_mutex);
        m_events.push_back(std::move(event));
        m_changed.notify_all();
    }

    std::vector<std::string> all() const {
        const std::scoped_lock lock(m_mutex);
        return m_events;
    }

    /// Waits until so many events have happened; false when they do not.
    bool waitForCount(std::size_t count) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, Watchdog, [&] { return m_events.size() >= count; });
    }

    /// Waits until this event has happened so often; false when it does not.
    bool waitFor(const std::string& event, std::ptrdiff_t times = 1) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, Watchdog,
                                  [&] { return std::count(m_events.begin(), m_events.end(), event) >= times; });
    }

  private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_events;
};
