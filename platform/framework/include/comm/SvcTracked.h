#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>

#include "comm/LifecycleImpl.h"
#include "comm/Message.h"
#include "comm/TrackedBase.h"

namespace comm {

class Agent;
namespace transport {
class Listener;
}

/// The record of a registration. An interface derives from it to hand what arrives to its stub.
///
/// The framework keeps the record from the registration until its last callback has returned.
class SvcTracked : public TrackedBase, public LifecycleImpl {
  public:
    ~SvcTracked() override;

    /// What arrives for the registration, one call at a time, on its dispatch thread: `connected` before a connection's
    /// first message, `disconnected` after its last. The registration is alive from before the first of these on.
    virtual void connected() = 0;
    virtual void received(const Message& message) = 0;
    virtual void disconnected() = 0;

  protected:
    /// `listener` as in `LifecycleImpl`.
    SvcTracked(const IdentityArgs& identity, LifecycleImpl::State state, LifecycleListener* listener);

  private:
    friend class ServiceRegistration;
    friend class Agent;

    class Events;
    enum class Phase { Idle, Opening, Open, Closing };

    /// As in `ServiceRegistration`.
    bool registerService();
    bool unregisterService();
    /// Ends the registration for good, and returns when no thread is in the middle of that. Not on a callback's thread.
    void endWithAgent();

    bool beginOpening(const std::shared_ptr<Agent>& agent, const std::shared_ptr<CallbackTurn>& turn);
    void completeOpening(std::shared_ptr<transport::Listener> listener);
    bool close(State state);

    // Guards what follows. Not held while the listener is opened or closed, or a callback runs.
    std::mutex m_mutex;
    std::condition_variable m_phaseChanged;
    Phase m_phase = Phase::Idle;
    std::shared_ptr<Agent> m_agent;                   // unless idle
    std::shared_ptr<transport::Listener> m_listener;  // while open
    std::shared_ptr<CallbackTurn> m_turn;             // of the present registration or the last one
};

}  // namespace comm
