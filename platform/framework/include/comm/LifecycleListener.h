#pragma once

namespace comm {

/// Is told of every change of a lifecycle.
class LifecycleListener {
  public:
    virtual ~LifecycleListener() = default;

    /// Called one at a time, in the order of the changes, on the thread that noticed the change: the agent's, or the
    /// one inside `connect` or `disconnect`. It may use and destroy the proxy that it listens to.
    virtual void lifecycleChanged(bool alive) = 0;

  protected:
    LifecycleListener() = default;
    LifecycleListener(const LifecycleListener&) = default;
    LifecycleListener& operator=(const LifecycleListener&) = default;
};

}  // namespace comm
