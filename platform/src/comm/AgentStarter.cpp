#include "comm/AgentStarter.h"

#include "Agent.h"
#include "AgentStart.h"
#include "comm/Error.h"
#include "configuration/AgentConfiguration.h"
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

// Null on failure.
std::shared_ptr<Agent> startAgent(const ipl::string& processName, const ipl::string& location) {
    if (location != "local") {
        error::record(Error::Configuration,
                      "process " + processName + " asks for an agent at '" + location + "'; there is \"local\" only",
                      __FILE__, __LINE__);
        return nullptr;
    }
    AgentConfiguration configuration;
    if (configuration.read(processName)) return nullptr;
    std::unique_ptr<transport::Transport> transport = makeTransport(configuration);
    if (transport == nullptr) return nullptr;
    auto agent = std::make_shared<Agent>(std::move(transport));
    return Agent::start(agent) ? nullptr : agent;
}

}  // namespace

AgentStarter::AgentStarter(const ipl::string& processName, const ipl::string& location)
    : m_processName(processName), m_location(location) {}

AgentStarter::~AgentStarter() {
    for (const Started& started : m_starts) started.start->leave(started.endWithStarter);
}

void AgentStarter::start(AgentStarterEventReceiver* receiver, bool endWithStarter) {
    const auto create = [name = m_processName, location = m_location] { return startAgent(name, location); };
    m_starts.push_back({AgentStart::begin(create, *receiver), endWithStarter});
}

}  // namespace comm
