#pragma once

#include <cstdint>
#include <optional>

#include "Options.h"
#include "Process.h"
#include "RuntimeDirectory.h"
#include "Supervisor.h"

namespace bench {

/// Many message tests at once: one shell with all services, another one with all clients, and a runtime directory of
/// their own. What returns true on failure has told it. The calls come in the order of their declaration.
class Load {
  public:
    /// What the tests came to.
    struct Total {
        std::uint64_t messages;  ///< answered ones
        double seconds;          ///< from the start of the first client until the last one has stopped
        double cpuSeconds;       ///< of both shells
    };

    /// Both must outlive this object.
    Load(const Options& options, Supervisor& supervisor) : m_options(options), m_supervisor(supervisor) {}

    /// Blocks until all clients are connected. `delay`: milliseconds before each burst.
    [[nodiscard]] bool start(std::uint32_t count, std::uint32_t delay);
    [[nodiscard]] bool keepRunning(double seconds);
    /// Sets `perPair` to the KiB of memory that a pair has added to the two shells. What they share counts once.
    [[nodiscard]] bool measureMemory(double& perPair);
    /// Blocks until all clients have stopped, and ends the shells. Nothing on failure, which it has told.
    std::optional<Total> stop();

  private:
    bool startShell(Process& shell);
    bool startTests(std::uint32_t delay);
    // `command` is completed by the instance and `end`.
    bool feed(const Process& shell, const std::string& command, const std::string& end = {}) const;
    bool measureBoth(double& kib);

    const Options& m_options;
    Supervisor& m_supervisor;
    std::uint32_t m_count = 0;
    RuntimeDirectory m_directory;
    Process m_services{"zidbench (services)"};
    Process m_clients{"zidbench (clients)"};
    double m_shellsKiB = 0;
    Watch::Clock::time_point m_begin;
};

}  // namespace bench
