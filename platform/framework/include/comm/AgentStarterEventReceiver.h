#pragma once

#include <memory>
#include <mutex>

#include "ipl/string.h"

namespace comm {

/// Is notified what becomes of an agent's start: once for each, on a thread of that start. It must not end the starter
/// then.
class AgentStarterEventReceiver {
  public:
    AgentStarterEventReceiver(const AgentStarterEventReceiver&) = delete;
    AgentStarterEventReceiver& operator=(const AgentStarterEventReceiver&) = delete;
    virtual ~AgentStarterEventReceiver() = default;

    /// The agent runs; `transport` describes what it uses.
    virtual void agentStarted(const ipl::string& transport) = 0;
    virtual void agentFailed(const ipl::string& reason) = 0;

  protected:
    AgentStarterEventReceiver() : m_link(std::make_shared<Link>(this)) {}

    /// When it returns, no notification runs and none will come. The destructor of a receiver begins with it, since a
    /// start may last any time.
    void detach();

  private:
    friend class AgentStart;

    // What starts know of the receiver, which may end before them.
    class Link {
      public:
        explicit Link(AgentStarterEventReceiver* receiver) : m_receiver(receiver) {}

        void started(const ipl::string& transport);
        void failed(const ipl::string& reason);
        void cut();

      private:
        std::mutex m_mutex;  // guards the receiver; held while it is notified
        AgentStarterEventReceiver* m_receiver;
    };

    const std::shared_ptr<Link> m_link;
};

}  // namespace comm
