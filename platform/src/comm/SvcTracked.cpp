#include "comm/SvcTracked.h"

#include "Agent.h"
#include "comm/Error.h"
#include "comm/TrackedReferenceBase.h"

namespace comm {

// Keeps the record while callbacks may come for it.
class SvcTracked::Events final : public transport::ListenerEvents {
  public:
    Events(SvcTracked& record, std::shared_ptr<CallbackTurn> turn)
        : ListenerEvents(std::move(turn)), m_record(record), m_reference(&record) {}

    void connected() override { m_record.connected(); }
    void received(const Message& message) override { m_record.received(message); }
    void disconnected() override { m_record.disconnected(); }

  private:
    SvcTracked& m_record;
    const TrackedReferenceBase m_reference;
};

SvcTracked::SvcTracked(const IdentityArgs& identity, LifecycleImpl::State state, LifecycleListener* listener)
    : TrackedBase(identity), LifecycleImpl(state, listener) {}

SvcTracked::~SvcTracked() = default;

// Callbacks wait for their turn until the registration is alive, so the first one finds it so.
bool SvcTracked::registerService() {
    const TrackedReferenceBase kept(this);
    const std::shared_ptr<Agent> agent = Agent::current();
    if (agent == nullptr) return error::record(Error::NoAgent, identity().toString(), __FILE__, __LINE__);
    const auto turn = std::make_shared<CallbackTurn>();
    if (beginOpening(agent, turn)) return true;
    (void)turn->enter();  // it is new
    const std::shared_ptr<transport::Listener> listener =
        agent->transport().listen(identity(), std::make_shared<Events>(*this, turn));
    completeOpening(listener);
    turn->leave();
    report();
    if (listener == nullptr) agent->remove(*this);
    return listener == nullptr;
}

// The agent knows the record before there is anything to end, so its own end misses nothing. True on failure.
bool SvcTracked::beginOpening(const std::shared_ptr<Agent>& agent, const std::shared_ptr<CallbackTurn>& turn) {
    const std::scoped_lock lock(m_mutex);
    if (m_phase != Phase::Idle)
        return error::record(Error::AlreadyRegistered, identity().toString(), __FILE__, __LINE__);
    if (hasEnded())
        return error::record(Error::NotConnected, identity().toString() + " has ended with its agent", __FILE__,
                             __LINE__);
    if (agent->add(*this)) return true;
    m_phase = Phase::Opening;
    m_agent = agent;
    m_turn = turn;
    return false;
}

void SvcTracked::completeOpening(std::shared_ptr<transport::Listener> listener) {
    const std::scoped_lock lock(m_mutex);
    if (listener != nullptr) {
        m_phase = Phase::Open;
        m_listener = std::move(listener);
        enter(Alive);
    } else {
        m_phase = Phase::Idle;
        m_agent.reset();
    }
    m_phaseChanged.notify_all();
}

bool SvcTracked::unregisterService() {
    const TrackedReferenceBase kept(this);
    return !close(Dead) && error::record(Error::NotConnected, identity().toString(), __FILE__, __LINE__);
}

void SvcTracked::endWithAgent() {
    const TrackedReferenceBase kept(this);
    (void)close(Ended);
    std::unique_lock lock(m_mutex);
    m_phaseChanged.wait(lock, [this] { return m_phase == Phase::Idle; });
    enter(Ended);
}

// Ends the registration; false if there is none, or another thread ends it. Waits for its callbacks in any case.
bool SvcTracked::close(State state) {
    std::shared_ptr<CallbackTurn> turn;
    std::shared_ptr<transport::Listener> listener;
    {
        std::unique_lock lock(m_mutex);
        m_phaseChanged.wait(lock, [this] { return m_phase != Phase::Opening; });
        turn = m_turn;
        listener.swap(m_listener);
        if (listener != nullptr) {
            m_phase = Phase::Closing;
            enter(state);
        }
    }
    if (turn != nullptr) turn->end();
    if (listener == nullptr) return false;
    report();
    listener->close();
    std::shared_ptr<Agent> agent;
    {
        const std::scoped_lock lock(m_mutex);
        m_phase = Phase::Idle;
        agent.swap(m_agent);
        m_phaseChanged.notify_all();
    }
    agent->remove(*this);
    return true;
}

}  // namespace comm
