#pragma once

#include <memory>

#include "comm/AgentStarterEventReceiver.h"
#include "ipl/string.h"

namespace comm {

class Agent;

/// Starts the process's agent and ends it: what connects the process with others. A process has one agent at a time.
class AgentStarter {
  public:
    /// `processName` selects the agent's configuration: comm/PROCESSNAME.toml in $XDG_CONFIG_HOME, or else in
    /// ~/.config, and otherwise in /etc; without one the process reaches others on its machine. `location` is where the
    /// agent runs; there is "local", inside this process.
    AgentStarter(const ipl::string& processName, const ipl::string& location);
    AgentStarter(const AgentStarter&) = delete;
    AgentStarter& operator=(const AgentStarter&) = delete;

    /// Ends the agent unless `start` was told otherwise: all registrations are withdrawn and all proxies disconnected.
    /// Not to be called from a callback.
    ~AgentStarter();

    /// Starts the agent and tells `receiver`, which must outlive the start, how that went. With `endWithStarter` the
    /// agent ends with this object; otherwise it stays until the process ends.
    void start(AgentStarterEventReceiver* receiver, bool endWithStarter);

  private:
    bool create();

    ipl::string m_processName;
    ipl::string m_location;
    bool m_endWithStarter = true;
    std::shared_ptr<Agent> m_agent;
};

}  // namespace comm
