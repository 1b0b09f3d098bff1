#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Options.h"
#include "Process.h"
#include "Program.h"
#include "Supervisor.h"

namespace bench {

/// What one run of a program measured.
struct Measurement {
    double rate;           ///< messages per second
    double cpuPerMessage;  ///< microseconds of all its processes together
};

/// Runs the programs, one at a time. A run that fails gives no measurement, and its program's name, what happened and
/// its last lines of output on standard error.
class Runner {
  public:
    /// Both must outlive this object.
    Runner(const Options& options, Supervisor& supervisor) : m_options(options), m_supervisor(supervisor) {}

    std::optional<Measurement> run(const Program& program, const Pair& pair);

  private:
    // The message test between a service process and a shell process, in a runtime directory of their own.
    std::optional<Measurement> runZidbench(const Pair& pair, bool overDds);
    std::optional<Measurement> runPlainExchange(const Pair& pair);
    std::optional<Measurement> runPeer(const Program& peer, const Pair& pair);

    // Returns true on failure, which it has told.
    bool test(const Pair& pair, Process& service, Process& client);
    // Nothing on failure, which it has told.
    std::optional<Process::Exit> runToEnd(Process& process, const std::vector<std::string>& command);

    const Options& m_options;
    Supervisor& m_supervisor;
};

}  // namespace bench
