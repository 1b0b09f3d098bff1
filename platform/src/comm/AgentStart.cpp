#include "AgentStart.h"

#include <utility>

#include "Agent.h"
#include "ipl/ErrorStorage.h"

namespace comm {
namespace {

ipl::string takeReason() {
    ipl::string reason = ipl::ErrorStorage::reasonText();
    ipl::ErrorStorage::ack();
    return reason;
}

}  // namespace

std::shared_ptr<AgentStart> AgentStart::begin(Create create, AgentStarterEventReceiver& receiver) {
    std::shared_ptr<AgentStart> start(new AgentStart(std::move(create), receiver));
    start->m_self = start;
    if (start->start()) {
        start->m_self.reset();
        start->m_receiver->failed(takeReason());
    }
    return start;
}

AgentStart::AgentStart(Create create, AgentStarterEventReceiver& receiver)
    : Thread("agent_start", false, 0), m_create(std::move(create)), m_receiver(receiver.m_link) {}

void AgentStart::entry() {
    const std::shared_ptr<AgentStart> self = std::move(m_self);
    const std::shared_ptr<Agent> agent = m_create();
    if (!isKept(agent)) {
        if (agent != nullptr) agent->stop();
        m_receiver->failed("its starter ended before it");
    } else if (agent != nullptr) {
        m_receiver->started(agent->transport().description());
    } else {
        m_receiver->failed(takeReason());
    }
}

bool AgentStart::isKept(const std::shared_ptr<Agent>& agent) {
    const std::scoped_lock lock(m_mutex);
    m_finished = true;
    if (m_unwanted) return false;
    m_agent = agent;
    return true;
}

// A thread that has finished its start only reports it. One that hangs must not hold up the process's end.
void AgentStart::leave(bool endAgent) {
    std::shared_ptr<Agent> agent;
    bool finished = false;
    {
        const std::scoped_lock lock(m_mutex);
        m_unwanted = endAgent;
        finished = m_finished;
        agent.swap(m_agent);
    }
    if (finished)
        (void)join();
    else
        detach();
    if (endAgent && agent != nullptr) agent->stop();
}

}  // namespace comm
