#pragma once

#include <optional>

#include "Options.h"
#include "Process.h"
#include "Watch.h"

namespace bench {

/// What one run of a program measured.
struct Measurement {
    double rate;           ///< messages per second
    double cpuPerMessage;  ///< microseconds of both processes together
};

/// Runs the two programs, one at a time. A run that fails gives no measurement, and its program's name, what happened
/// and its last lines of output on standard error.
class Runner {
  public:
    /// Both must outlive this object.
    Runner(const Options& options, const Watch& watch) : m_options(options), m_watch(watch) {}

    /// The message test between a service process and a shell process, in a runtime directory of their own.
    std::optional<Measurement> runZidbench(const Pair& pair);
    std::optional<Measurement> runPlainExchange(const Pair& pair);

    /// Whether a signal has asked for the end, so that further runs would fail too.
    bool isInterrupted() const { return m_interrupted; }

  private:
    // These return true on failure, which they have told.
    bool test(const Pair& pair, Process& service, Process& client);
    bool keepRunning(Process& service, Process& client, Watch::Clock::time_point deadline);
    bool waitForEnd(const Process& process, Process* companion, Watch::Clock::time_point deadline);
    bool interrupt();

    const Options& m_options;
    const Watch& m_watch;
    bool m_interrupted = false;
};

}  // namespace bench
