#pragma once

#include <optional>

#include "Options.h"
#include "Process.h"
#include "Supervisor.h"

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
    Runner(const Options& options, Supervisor& supervisor) : m_options(options), m_supervisor(supervisor) {}

    /// The message test between a service process and a shell process, in a runtime directory of their own.
    std::optional<Measurement> runZidbench(const Pair& pair);
    std::optional<Measurement> runPlainExchange(const Pair& pair);

  private:
    // Returns true on failure, which it has told.
    bool test(const Pair& pair, Process& service, Process& client);

    const Options& m_options;
    Supervisor& m_supervisor;
};

}  // namespace bench
