#include "ProxyTracked.h"

#include "Agent.h"
#include "comm/Error.h"
#include "comm/TrackedReferenceBase.h"

namespace comm {
namespace {

// Where calls end while the service is not there.
class UnreachableObject final : public InterfaceObject {
  public:
    explicit UnreachableObject(ipl::string name) : m_name(std::move(name)) {}

    void call(const Message& /*message*/) override { error::record(Error::NotAlive, m_name, __FILE__, __LINE__); }

  private:
    const ipl::string m_name;
};

class ConnectedObject final : public InterfaceObject {
  public:
    explicit ConnectedObject(const std::shared_ptr<transport::Link>& link) : m_link(link) {}

    // A dropped message has its reason in the error storage, where the caller finds it.
    void call(const Message& message) override { (void)m_link->send(message); }

  private:
    const std::shared_ptr<transport::Link>& m_link;
};

}  // namespace

// Keeps the record until the link is closed, however late an event comes.
class ProxyTracked::Events final : public transport::LinkEvents {
  public:
    explicit Events(ProxyTracked& record) : m_record(record), m_reference(&record) {}

    void up() override { m_record.become(Connected, Alive); }
    void down() override { m_record.become(Unreachable, Dead); }

  private:
    ProxyTracked& m_record;
    const TrackedReferenceBase m_reference;
};

ProxyTracked::ProxyTracked(const IdentityArgs& identity, LifecycleListener* listener)
    : TrackedBase(identity),
      LifecycleImpl(Initial, listener),
      m_objects{std::make_unique<UnreachableObject>(identity.toString()), std::make_unique<ConnectedObject>(m_link)} {}

ProxyTracked::~ProxyTracked() = default;

bool ProxyTracked::connect() {
    const TrackedReferenceBase kept(this);
    const std::shared_ptr<Agent> agent = Agent::current();
    if (agent == nullptr) return error::record(Error::NoAgent, identity().toString(), __FILE__, __LINE__);
    const std::shared_ptr<transport::Link> link = makeLink(agent);
    if (link == nullptr) return true;
    if (!link->open()) return false;
    disconnect();
    return true;
}

// The agent knows the record before the link can be opened, so its end and every `disconnect` from now on close it.
// Null on failure.
std::shared_ptr<transport::Link> ProxyTracked::makeLink(const std::shared_ptr<Agent>& agent) {
    const std::scoped_lock lock(m_mutex);
    if (hasEnded()) {
        error::record(Error::NotConnected, identity().toString() + " was disconnected, which is for good", __FILE__,
                      __LINE__);
        return nullptr;
    }
    if (m_link != nullptr) {
        error::record(Error::AlreadyRegistered, identity().toString() + " is connected", __FILE__, __LINE__);
        return nullptr;
    }
    if (agent->add(*this)) return nullptr;
    m_agent = agent;
    m_link = agent->transport().link(identity(), std::make_shared<Events>(*this));
    enter(Pending);
    return m_link;
}

void ProxyTracked::disconnect() {
    const TrackedReferenceBase kept(this);
    std::shared_ptr<Agent> agent;
    std::shared_ptr<transport::Link> link;
    {
        const std::scoped_lock lock(m_mutex);
        agent.swap(m_agent);
        link = m_link;
        m_current = Unreachable;
        enter(Ended);
    }
    if (link != nullptr) link->close();
    report();
    awaitListener();
    if (agent != nullptr) agent->remove(*this);
}

void ProxyTracked::become(Selector selector, State state) {
    const TrackedReferenceBase kept(this);
    {
        const std::scoped_lock lock(m_mutex);
        if (hasEnded()) return;
        m_current = selector;
        enter(state);
    }
    report();
}

}  // namespace comm
