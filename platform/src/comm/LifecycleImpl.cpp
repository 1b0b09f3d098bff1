#include "comm/LifecycleImpl.h"

#include "comm/Error.h"

namespace comm {

bool LifecycleImpl::isAlive() const {
    const std::scoped_lock lock(m_mutex);
    return m_state == Alive;
}

bool LifecycleImpl::hasEnded() const {
    const std::scoped_lock lock(m_mutex);
    return m_state == Ended;
}

bool LifecycleImpl::waitUntilDead() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_state != Alive; });
    return (m_state == Initial || m_state == Ended) &&
           error::record(Error::NotConnected, "waiting for a service's end", __FILE__, __LINE__);
}

bool LifecycleImpl::waitUntilAlive() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_state != Pending && m_state != Dead; });
    return m_state != Alive && error::record(Error::NotConnected, "waiting for a service", __FILE__, __LINE__);
}

void LifecycleImpl::enter(State state) {
    const std::scoped_lock lock(m_mutex);
    if (m_state == Ended) return;
    if (m_listener != nullptr && (m_state == Alive) != (state == Alive)) m_changes.push_back(state == Alive);
    m_state = state;
    m_changed.notify_all();
}

// A change that is entered while this thread leaves its turn would be nobody's, so it looks again after that.
void LifecycleImpl::report() {
    if (m_turn.isMine()) return reportAll();
    for (;;) {
        {
            const std::scoped_lock lock(m_mutex);
            if (m_changes.empty()) return;
        }
        if (!m_turn.tryEnter()) return;
        reportAll();
        m_turn.leave();
    }
}

void LifecycleImpl::reportAll() {
    for (bool alive = false; takeChange(alive);) m_listener->lifecycleChanged(alive);
}

// False if there is none.
bool LifecycleImpl::takeChange(bool& alive) {
    const std::scoped_lock lock(m_mutex);
    if (m_changes.empty()) return false;
    alive = m_changes.front();
    m_changes.pop_front();
    return true;
}

}  // namespace comm
