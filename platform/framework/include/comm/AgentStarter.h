#pragma once

#include <memory>

#include "comm/AgentStarterEventReceiver.h"
#include "ipl/string.h"
#include "ipl/vector.h"

namespace comm {

class AgentStart;

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
    /// An agent that is still being started is ended as soon as it has started; nothing waits for that. Not to be
    /// called from a callback.
    ~AgentStarter();

    /// Starts the agent on a thread of its own and notifies `receiver`, which may end before. With `endWithStarter` the
    /// agent ends with this object; otherwise it stays until the process ends.
    void start(AgentStarterEventReceiver* receiver, bool endWithStarter);

  private:
    struct Started {
        std::shared_ptr<AgentStart> start;
        bool endWithStarter;
    };

    ipl::string m_processName;
    ipl::string m_location;
    ipl::vector<Started> m_starts;
};

}  // namespace comm
