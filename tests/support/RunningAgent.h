#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "TemporaryDirectory.h"
#include "comm/AgentStartStatus.h"
#include "comm/AgentStarter.h"

/// An agent of this process whose registrations nobody else on the machine sees. The process name "ddsclient" gives it
/// the transport between machines, here through loopback; "ddsclient_short" does so with a short lease.
class RunningAgent {
  public:
    explicit RunningAgent(const char* processName = "testclient") : m_starter(std::in_place, processName, "local") {
        ::setenv("XDG_RUNTIME_DIR", m_directory.path().c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", m_directory.path().c_str(), 1);
        std::filesystem::create_directory(m_directory.path() + "/comm");
        configure("ddsclient", 4000);
        configure("ddsclient_short", 500);
        m_starter->start(&m_status, true);
        EXPECT_EQ(m_status.waitUntilStarted(10000), comm::AgentStartStatus::Started);
    }

    /// In which the transport between machines meets nobody else of this machine.
    static std::uint32_t domain() {
        static const std::uint32_t own = takeDomain();
        return own;
    }

    /// Ends the agent before this object.
    void end() { m_starter.reset(); }

    /// Where the sockets are.
    std::string directory() const { return m_directory.path() + "/zidbench"; }

  private:
    // The name of a socket is taken until this process ends.
    static std::uint32_t takeDomain() {
        const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        for (std::uint32_t domain = 1; domain <= 230; ++domain) {
            const std::string name = "zidbench-test-domain-" + std::to_string(domain);
            sockaddr_un address{AF_UNIX, {}};
            name.copy(address.sun_path + 1, name.size());
            if (::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return domain;
        }
        ADD_FAILURE() << "no domain is free";
        return 0;
    }

    void configure(const std::string& name, int lease) const {
        std::ofstream(m_directory.path() + "/comm/" + name + ".toml")
            << "transport = \"dds\"\ninterface = \"lo\"\ndomain = " << domain() << "\nlease_ms = " << lease << '\n';
    }

    TemporaryDirectory m_directory;
    comm::AgentStartStatus m_status;
    std::optional<comm::AgentStarter> m_starter;
};
