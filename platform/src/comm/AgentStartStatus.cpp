#include "comm/AgentStartStatus.h"

#include <chrono>

namespace comm {

int AgentStartStatus::waitUntilStarted(long long milliseconds) {
    std::unique_lock lock(m_mutex);
    m_decided.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return m_result != TimedOut; });
    return m_result;
}

void AgentStartStatus::print(ipl::ostream& stream) const {
    const std::scoped_lock lock(m_mutex);
    switch (m_result) {
        case Started:
            stream << "started, " << m_text;
            break;
        case Failed:
            stream << m_text;
            break;
        case TimedOut:
            stream << "it has not answered yet";
            break;
    }
}

void AgentStartStatus::agentStarted(const ipl::string& transport) {
    decide(Started, transport);
}

void AgentStartStatus::agentFailed(const ipl::string& reason) {
    decide(Failed, reason);
}

void AgentStartStatus::decide(Result result, const ipl::string& text) {
    const std::scoped_lock lock(m_mutex);
    m_result = result;
    m_text = text;
    m_decided.notify_all();
}

}  // namespace comm
