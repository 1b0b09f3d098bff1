#pragma once

namespace comm {

/// Receives every change of a lifecycle.
class LifecycleListener {
  public:
    virtual ~LifecycleListener() = default;

    /// Called one at a time, in the order of the changes, on a thread that noticed a change: the agent's, or one inside
    /// `connect` or `disconnect`. It may use, disconnect and destroy the proxy that it listens to.
    virtual void lifecycleChanged(bool alive) = 0;

  protected:
    LifecycleListener() = default;
    LifecycleListener(const LifecycleListener&) = default;
    LifecycleListener& operator=(const LifecycleListener&) = default;
};

}  // namespace comm
