#include "comm/SvcTracked.h"

#include "Agent.h"
#include "comm/Error.h"
#include "comm/TrackedReferenceBase.h"

namespace comm {
namespace {

// Keeps the record while events may come for it.
class RegistrationEvents final : public transport::ListenerEvents {
  public:
    explicit RegistrationEvents(SvcTracked& record) : m_record(record), m_reference(&record) {}

    void connected() override { m_record.connected(); }
    void received(const Message& message) override { m_record.received(message); }
    void disconnected() override { m_record.disconnected(); }

  private:
    SvcTracked& m_record;
    TrackedReferenceBase m_reference;
};

}  // namespace

SvcTracked::SvcTracked(const IdentityArgs& identity, LifecycleImpl::State state, LifecycleListener* listener)
    : TrackedBase(identity), LifecycleImpl(state, listener) {}

SvcTracked::~SvcTracked() = default;

bool SvcTracked::registerService() {
    const std::shared_ptr<Agent> agent = Agent::current();
    if (agent == nullptr) return error::record(Error::NoAgent, identity().toString(), __FILE__, __LINE__);
    {
        const std::scoped_lock lock(m_mutex);
        if (m_listener != nullptr)
            return error::record(Error::AlreadyRegistered, identity().toString(), __FILE__, __LINE__);
        m_listener = agent->transport().listen(identity(), std::make_shared<RegistrationEvents>(*this));
        if (m_listener == nullptr) return true;
    }
    changeTo(Alive);
    if (!agent->add(*this)) return false;
    end(Ended);
    return true;
}

bool SvcTracked::unregisterService() {
    const TrackedReferenceBase kept(this);
    if (const std::shared_ptr<Agent> agent = Agent::current()) agent->remove(*this);
    return !end(Dead) && error::record(Error::NotConnected, identity().toString(), __FILE__, __LINE__);
}

// Ends a registration; false if there was none.
bool SvcTracked::end(State state) {
    std::shared_ptr<transport::Listener> listener;
    {
        const std::scoped_lock lock(m_mutex);
        listener.swap(m_listener);
    }
    if (listener == nullptr) return false;
    changeTo(state);
    listener->close();
    return true;
}

}  // namespace comm
