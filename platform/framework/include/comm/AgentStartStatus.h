#pragma once

#include <condition_variable>
#include <mutex>

#include "comm/AgentStarterEventReceiver.h"
#include "ipl/iostream.h"

namespace comm {

/// Receives what becomes of an agent's start and lets others wait for it. Any thread. It may end before the start.
class AgentStartStatus final : public AgentStarterEventReceiver {
  public:
    enum Result { Failed = -1, TimedOut = 0, Started = 1 };

    AgentStartStatus() = default;
    AgentStartStatus(const AgentStartStatus&) = delete;
    AgentStartStatus& operator=(const AgentStartStatus&) = delete;
    ~AgentStartStatus() override { detach(); }

    /// Waits at most this long for the start's end and gives a `Result`.
    int waitUntilStarted(long long milliseconds);

    /// Describes the status in one line without its end.
    void print(ipl::ostream& stream) const;

    void agentStarted(const ipl::string& transport) override;
    void agentFailed(const ipl::string& reason) override;

  private:
    void decide(Result result, const ipl::string& text);

    // Guards the members below.
    mutable std::mutex m_mutex;
    std::condition_variable m_decided;
    Result m_result = TimedOut;
    ipl::string m_text;
};

}  // namespace comm
