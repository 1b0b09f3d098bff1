#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

#include "comm/CallbackTurn.h"
#include "comm/Lifecycle.h"
#include "comm/LifecycleListener.h"

namespace comm {

/// The state behind a lifecycle. Any thread.
class LifecycleImpl : public Lifecycle {
  public:
    enum State {
        Initial = 0,  ///< never connected or registered
        Pending = 1,  ///< waiting to come alive for the first time
        Alive = 2,
        Dead = 3,  ///< was alive and may come alive again
        Ended = 4  ///< disconnected, or the agent ended. Final: no other state follows
    };

    /// `listener` may be null and otherwise lives until `awaitListener` has returned after `Ended` was entered, or this
    /// object is destroyed.
    LifecycleImpl(State state, LifecycleListener* listener) : m_state(state), m_listener(listener) {}
    LifecycleImpl(const LifecycleImpl&) = delete;
    LifecycleImpl& operator=(const LifecycleImpl&) = delete;

    bool isAlive() const override;
    bool isDead() const override { return !isAlive(); }
    bool waitUntilDead() override;
    bool waitUntilAlive() override;

  protected:
    bool hasEnded() const;

    /// Goes to a state, unless it has ended, and wakes the threads that wait. Calls nobody back, so locks may be held.
    void enter(State state);

    /// Reports the changes of being alive that were not reported yet to the listener, in their order and one at a time.
    /// Returns at once while another thread does so, which then reports them all. The listener may destroy the object's
    /// owner, so the caller keeps this object. No lock may be held.
    void report();

    /// Waits until no other thread reports. For the exceptions see `CallbackTurn::await`.
    void awaitListener() const { m_turn.await(); }

  private:
    void reportAll();
    bool takeChange(bool& alive);

    // Guards what follows.
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state;
    std::deque<bool> m_changes;  // of being alive, not reported yet

    LifecycleListener* const m_listener;
    CallbackTurn m_turn;
};

}  // namespace comm
