#include "comm/LifecycleImpl.h"

#include "comm/Error.h"

namespace comm {

bool LifecycleImpl::isAlive() const {
    const std::scoped_lock lock(m_mutex);
    return m_state == Alive;
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

void LifecycleImpl::changeTo(State state) {
    const std::scoped_lock telling(m_telling);
    bool changed = false;
    {
        const std::scoped_lock lock(m_mutex);
        changed = (m_state == Alive) != (state == Alive);
        m_state = state;
        m_changed.notify_all();
    }
    if (changed && m_listener != nullptr) m_listener->lifecycleChanged(state == Alive);
}

}  // namespace comm
