#pragma once

#include <memory>
#include <mutex>

#include "comm/LifecycleImpl.h"
#include "comm/Message.h"
#include "comm/TrackedBase.h"

namespace comm {

namespace transport {
class Listener;
}

/// The record of a registration. An interface derives from it to hand what arrives to its stub.
class SvcTracked : public TrackedBase, public LifecycleImpl {
  public:
    ~SvcTracked() override;

    /// What arrives for the registration, one call at a time, on its dispatch thread: `connected` before a connection's
    /// first message, `disconnected` after its last.
    virtual void connected() = 0;
    virtual void received(const Message& message) = 0;
    virtual void disconnected() = 0;

  protected:
    /// `listener` as in `LifecycleImpl`.
    SvcTracked(const IdentityArgs& identity, LifecycleImpl::State state, LifecycleListener* listener);

  private:
    friend class ServiceRegistration;
    friend class Agent;

    bool registerService();
    bool unregisterService();
    bool end(State state);

    // Guards `m_listener`, which is null while there is no registration. Not held while the listener is closed, since
    // that waits for callbacks.
    std::mutex m_mutex;
    std::shared_ptr<transport::Listener> m_listener;
};

}  // namespace comm
