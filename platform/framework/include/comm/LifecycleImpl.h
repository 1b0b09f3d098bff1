#pragma once

#include <condition_variable>
#include <mutex>

#include "comm/Lifecycle.h"
#include "comm/LifecycleListener.h"

namespace comm {

/// The state behind a lifecycle.
class LifecycleImpl : public Lifecycle {
  public:
    enum State {
        Initial = 0,  ///< never connected or registered
        Pending = 1,  ///< waiting to come alive for the first time
        Alive = 2,
        Dead = 3,  ///< was alive and may come alive again
        Ended = 4  ///< disconnected, or the agent ended: nothing changes by itself any more
    };

    /// `listener` may be null and otherwise lives until this object has been told `Ended` or is destroyed.
    LifecycleImpl(State state, LifecycleListener* listener) : m_state(state), m_listener(listener) {}
    LifecycleImpl(const LifecycleImpl&) = delete;
    LifecycleImpl& operator=(const LifecycleImpl&) = delete;

    bool isAlive() const override;
    bool isDead() const override { return !isAlive(); }
    bool waitUntilDead() override;
    bool waitUntilAlive() override;

    /// Goes to a state, wakes who waits for it, and tells the listener if being alive has changed.
    void changeTo(State state);

  private:
    // Guards `m_state`. Taken inside `m_telling`.
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state;

    // Held around a change and its telling, so that the listener hears of changes in their order. Recursive, because
    // the listener may cause the next change.
    std::recursive_mutex m_telling;
    LifecycleListener* const m_listener;
};

}  // namespace comm
