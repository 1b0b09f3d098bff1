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

ProxyTracked::ProxyTracked(const IdentityArgs& identity, LifecycleListener* listener)
    : TrackedBase(identity),
      LifecycleImpl(Initial, listener),
      m_objects{std::make_unique<UnreachableObject>(identity.toString()), std::make_unique<ConnectedObject>(m_link)} {}

ProxyTracked::~ProxyTracked() = default;

bool ProxyTracked::connect() {
    const std::shared_ptr<Agent> agent = Agent::current();
    if (agent == nullptr) return error::record(Error::NoAgent, identity().toString(), __FILE__, __LINE__);
    {
        const std::scoped_lock lock(m_mutex);
        if (m_link != nullptr)
            return error::record(Error::AlreadyRegistered, identity().toString() + " is connected", __FILE__, __LINE__);
        m_link = agent->transport().link(identity(), *this);
    }
    changeTo(Pending);
    if (!agent->add(*this) && !m_link->open()) return false;
    disconnect();
    return true;
}

void ProxyTracked::disconnect() {
    const TrackedReferenceBase kept(this);
    if (const std::shared_ptr<Agent> agent = Agent::current()) agent->remove(*this);
    std::shared_ptr<transport::Link> link;
    {
        const std::scoped_lock lock(m_mutex);
        link = m_link;
    }
    if (link != nullptr) link->close();
    become(Unreachable, Ended);
}

void ProxyTracked::up() {
    become(Connected, Alive);
}

void ProxyTracked::down() {
    become(Unreachable, Dead);
}

void ProxyTracked::become(Selector selector, State state) {
    const TrackedReferenceBase kept(this);  // a listener may destroy the proxy
    m_current = selector;
    changeTo(state);
}

}  // namespace comm
