#include "Agent.h"

#include "ProxyTracked.h"
#include "comm/Error.h"
#include "comm/SvcTracked.h"

namespace comm {
namespace {

struct Current {
    std::mutex mutex;  // guards `agent`
    std::shared_ptr<Agent> agent;
};

// Threads that outlive main still ask for it, so it is never destroyed.
Current& currentAgent() {
    static auto& instance = *new Current;
    return instance;
}

}  // namespace

std::shared_ptr<Agent> Agent::current() {
    Current& current = currentAgent();
    const std::scoped_lock lock(current.mutex);
    return current.agent;
}

bool Agent::start(const std::shared_ptr<Agent>& agent) {
    Current& current = currentAgent();
    const std::scoped_lock lock(current.mutex);
    if (current.agent != nullptr)
        return error::record(Error::AgentRunning, current.agent->transport().description(), __FILE__, __LINE__);
    if (agent->m_transport->start()) return true;
    current.agent = agent;
    return false;
}

void Agent::stop() {
    {
        Current& current = currentAgent();
        const std::scoped_lock lock(current.mutex);
        if (current.agent.get() == this) current.agent.reset();
    }
    References<SvcTracked> registrations;
    References<ProxyTracked> proxies;
    {
        const std::scoped_lock lock(m_mutex);
        m_ended = true;
        registrations.swap(m_registrations);
        proxies.swap(m_proxies);
    }
    for (const auto& [registration, reference] : registrations) registration->end(LifecycleImpl::Ended);
    for (const auto& [proxy, reference] : proxies) proxy->disconnect();
    m_transport->stop();
}

template <class Record>
bool Agent::addTo(References<Record>& references, Record& record) {
    const std::scoped_lock lock(m_mutex);
    if (m_ended) return error::record(Error::NoAgent, "the agent has ended", __FILE__, __LINE__);
    references.emplace(&record, &record);
    return false;
}

bool Agent::add(SvcTracked& record) {
    return addTo(m_registrations, record);
}
bool Agent::add(ProxyTracked& record) {
    return addTo(m_proxies, record);
}

void Agent::remove(SvcTracked& record) {
    const TrackedReferenceBase kept(&record);
    const std::scoped_lock lock(m_mutex);
    m_registrations.erase(&record);
}

void Agent::remove(ProxyTracked& record) {
    const TrackedReferenceBase kept(&record);
    const std::scoped_lock lock(m_mutex);
    m_proxies.erase(&record);
}

}  // namespace comm
