#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "comm/AgentStarterEventReceiver.h"
#include "osal/common/Thread.h"

namespace comm {

class Agent;

/// One start of an agent, on a thread of its own. The starter, the receiver and the thread may end in any order.
class AgentStart final : private osal::Thread {
  public:
    /// Starts an agent; null on failure, with the reason in the error storage. It may take any time.
    using Create = std::function<std::shared_ptr<Agent>()>;

    /// Begins the start. The receiver is notified once, on the start's thread or, if there is none, on this one.
    [[nodiscard]] static std::shared_ptr<AgentStart> begin(Create create, AgentStarterEventReceiver& receiver);

    /// The starter ends. `endAgent`: the agent ends too, before the return or, if it has not started yet, as soon as
    /// it has. Called once. It does not wait for a start that runs.
    void leave(bool endAgent);

  private:
    AgentStart(Create create, AgentStarterEventReceiver& receiver);

    void entry() override;
    [[nodiscard]] bool isKept(const std::shared_ptr<Agent>& agent);

    const Create m_create;
    const std::shared_ptr<AgentStarterEventReceiver::Link> m_receiver;
    std::shared_ptr<AgentStart> m_self;  // the thread's; from its beginning on the thread's alone

    // Guards what follows.
    std::mutex m_mutex;
    bool m_finished = false;
    bool m_unwanted = false;
    std::shared_ptr<Agent> m_agent;
};

}  // namespace comm
