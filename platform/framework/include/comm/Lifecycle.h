#pragma once

namespace comm {

/// Whether something is there. Any thread may ask and wait, several at once.
class Lifecycle {
  public:
    virtual ~Lifecycle() = default;

    virtual bool isAlive() const = 0;
    virtual bool isDead() const = 0;

    /// Block without a time limit until the state is reached. True on failure, with the reason in the error storage: it
    /// was never connected, is disconnected meanwhile, or the agent ends.
    virtual bool waitUntilDead() = 0;
    virtual bool waitUntilAlive() = 0;
};

}  // namespace comm
