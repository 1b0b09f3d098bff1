#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

#include "TemporaryDirectory.h"
#include "comm/AgentStartStatus.h"
#include "comm/AgentStarter.h"

/// An agent of this process whose registrations nobody else on the machine sees.
class RunningAgent {
  public:
    explicit RunningAgent(const char* processName = "testclient") : m_starter(std::in_place, processName, "local") {
        ::setenv("XDG_RUNTIME_DIR", m_directory.path().c_str(), 1);
        m_starter->start(&m_status, true);
        EXPECT_EQ(m_status.waitUntilStarted(10000), comm::AgentStartStatus::Started);
    }

    /// Ends the agent before this object.
    void end() { m_starter.reset(); }

    /// Where the sockets are.
    std::string directory() const { return m_directory.path() + "/zidbench"; }

  private:
    TemporaryDirectory m_directory;
    comm::AgentStartStatus m_status;
    std::optional<comm::AgentStarter> m_starter;
};
