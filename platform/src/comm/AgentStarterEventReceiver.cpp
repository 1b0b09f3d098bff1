#include "comm/AgentStarterEventReceiver.h"

namespace comm {

void AgentStarterEventReceiver::detach() {
    m_link->cut();
}

void AgentStarterEventReceiver::Link::started(const ipl::string& transport) {
    const std::scoped_lock lock(m_mutex);
    if (m_receiver != nullptr) m_receiver->agentStarted(transport);
}

void AgentStarterEventReceiver::Link::failed(const ipl::string& reason) {
    const std::scoped_lock lock(m_mutex);
    if (m_receiver != nullptr) m_receiver->agentFailed(reason);
}

void AgentStarterEventReceiver::Link::cut() {
    const std::scoped_lock lock(m_mutex);
    m_receiver = nullptr;
}

}  // namespace comm
