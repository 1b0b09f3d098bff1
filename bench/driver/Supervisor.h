#pragma once

#include <string>
#include <vector>

#include "Process.h"
#include "Watch.h"

namespace bench {

/// Looks after the processes of a run. What returns true on failure has told it. A process that has no companion is its
/// own.
class Supervisor {
  public:
    /// `watch` must outlive this object.
    explicit Supervisor(const Watch& watch) : m_watch(watch) {}

    /// Blocks until the deadline. Fails when one of both ends before or a signal comes.
    [[nodiscard]] bool keepRunning(Process& process, Process& companion, Watch::Clock::time_point deadline);
    /// Blocks until the process has printed a text so many times. Fails when it has not at the deadline, and as above.
    [[nodiscard]] bool waitForOutput(Process& process, Process& companion, const std::string& text, std::size_t count,
                                     Watch::Clock::time_point deadline);
    /// Blocks until the process ends. Fails when the companion ends first, at the deadline, or when a signal comes.
    [[nodiscard]] bool waitForEnd(const Process& process, Process& companion, Watch::Clock::time_point deadline);

    /// Whether a signal has asked for the end, so that further runs would fail too.
    bool isInterrupted() const { return m_interrupted; }

  private:
    bool interrupt();

    const Watch& m_watch;
    bool m_interrupted = false;
};

/// Tells on standard error which process failed, how, and its last lines of output. Returns true, as every failure
/// does.
bool tell(const Process& process, const std::string& what);

/// What a status, as `wait4` gives it, says of its process.
std::string describe(int status);

/// Returns true on failure, which it has told.
[[nodiscard]] bool start(Process& process, const std::vector<std::string>& command,
                         const std::string& runtimeDirectory = {});

/// That many seconds from now.
Watch::Clock::time_point after(double seconds);

}  // namespace bench
