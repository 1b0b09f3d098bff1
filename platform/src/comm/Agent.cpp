#include "Agent.h"

#include "ProxyTracked.h"
#include "comm/Error.h"
#include "comm/SvcTracked.h"

namespace comm {
namespace {

struct Current {
    std::mutex mutex;  // guards what follows; no transport starts or ends under it
    std::shared_ptr<Agent> agent;
    bool starting = false;
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
    {
        const std::scoped_lock lock(current.mutex);
        if (current.agent != nullptr)
            return error::record(Error::AgentRunning, current.agent->transport().description(), __FILE__, __LINE__);
        if (current.starting) return error::record(Error::AgentRunning, "it is just starting", __FILE__, __LINE__);
        current.starting = true;
    }
    const bool failed = agent->m_transport->start();
    const std::scoped_lock lock(current.mutex);
    current.starting = false;
    if (!failed) current.agent = agent;
    return failed;
}

// Callbacks connect proxies, and that must not fail while there are callbacks: so registrations end first.
void Agent::stop() {
    endRegistrations();
    forget();
    endProxies();
    m_transport->stop();
}

void Agent::endRegistrations() {
    References<SvcTracked> registrations;
    {
        const std::scoped_lock lock(m_mutex);
        m_takesRegistrations = false;
        registrations = m_registrations;
    }
    for (const auto& [registration, reference] : registrations) registration->endWithAgent();
}

void Agent::endProxies() {
    References<ProxyTracked> proxies;
    {
        const std::scoped_lock lock(m_mutex);
        m_takesProxies = false;
        proxies = m_proxies;
    }
    for (const auto& [proxy, reference] : proxies) proxy->disconnect();
}

// From now on the process has no agent.
void Agent::forget() {
    Current& current = currentAgent();
    const std::scoped_lock lock(current.mutex);
    if (current.agent.get() == this) current.agent.reset();
}

bool Agent::add(SvcTracked& record) {
    const std::scoped_lock lock(m_mutex);
    if (!m_takesRegistrations) return refuse();
    m_registrations.emplace(&record, &record);
    return false;
}

bool Agent::add(ProxyTracked& record) {
    const std::scoped_lock lock(m_mutex);
    if (!m_takesProxies) return refuse();
    m_proxies.emplace(&record, &record);
    return false;
}

bool Agent::refuse() {
    return error::record(Error::NoAgent, "the agent has ended", __FILE__, __LINE__);
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
