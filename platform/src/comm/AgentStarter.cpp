#include "comm/AgentStarter.h"

#include "Agent.h"
#include "comm/Error.h"
#include "configuration/AgentConfiguration.h"
#include "ipl/ErrorStorage.h"
#include "transport/dds/MakeDdsTransport.h"
#include "transport/local/LocalTransport.h"

namespace comm {
namespace {

// Null on failure.
std::unique_ptr<transport::Transport> makeTransport(const AgentConfiguration& configuration) {
    if (configuration.transport == AgentConfiguration::Transport::Dds)
        return transport::makeDdsTransport(configuration);
    return std::make_unique<transport::LocalTransport>();
}

}  // namespace

AgentStarter::AgentStarter(const ipl::string& processName, const ipl::string& location)
    : m_processName(processName), m_location(location) {}

AgentStarter::~AgentStarter() {
    if (m_agent != nullptr && m_endWithStarter) m_agent->stop();
}

void AgentStarter::start(AgentStarterEventReceiver* receiver, bool endWithStarter) {
    m_endWithStarter = endWithStarter;
    if (!create()) {
        receiver->agentStarted(m_agent->transport().description());
        return;
    }
    receiver->agentFailed(ipl::ErrorStorage::reason());
    ipl::ErrorStorage::ack();
}

bool AgentStarter::create() {
    if (m_location != "local")
        return error::record(
            Error::Configuration,
            "process " + m_processName + " asks for an agent at '" + m_location + "'; there is \"local\" only",
            __FILE__, __LINE__);
    AgentConfiguration configuration;
    if (configuration.read(m_processName)) return true;
    std::unique_ptr<transport::Transport> transport = makeTransport(configuration);
    if (transport == nullptr) return true;
    auto agent = std::make_shared<Agent>(std::move(transport));
    if (Agent::start(agent)) return true;
    m_agent = agent;
    return false;
}

}  // namespace comm
