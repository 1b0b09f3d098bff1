#pragma once

#include "ipl/string.h"

namespace comm {

/// Is told what becomes of an agent's start, on whichever thread finds out.
class AgentStarterEventReceiver {
  public:
    virtual ~AgentStarterEventReceiver() = default;

    /// The agent runs; `transport` describes what it uses.
    virtual void agentStarted(const ipl::string& transport) = 0;
    virtual void agentFailed(const ipl::string& reason) = 0;

  protected:
    AgentStarterEventReceiver() = default;
    AgentStarterEventReceiver(const AgentStarterEventReceiver&) = default;
    AgentStarterEventReceiver& operator=(const AgentStarterEventReceiver&) = default;
};

}  // namespace comm
