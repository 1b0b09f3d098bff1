#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Mount.h"
#include "Process.h"
#include "Supervisor.h"

namespace bench {

/// Who transfers through which file system.
enum class Way { DdNullFile, DdTransport, ZidbenchTransport };
inline constexpr std::size_t Ways = 3;

/// What is transferred.
struct Load {
    std::uint32_t block;  ///< bytes
    std::uint64_t count;  ///< of blocks

    double bytes() const { return static_cast<double>(block) * static_cast<double>(count); }
};

/// What one run measured.
struct Measurement {
    double rate;       ///< bytes per second
    double cpuPerMiB;  ///< microseconds of all processes together
};

/// Runs the transfers, one at a time. A run that fails gives no measurement, and what happened on standard error.
class Runner {
  public:
    /// The supervisor must outlive this object.
    explicit Runner(Supervisor& supervisor) : m_supervisor(supervisor) {}

    /// One process writes the load and one reads it at the same time, through a file system that is mounted for it.
    std::optional<Measurement> run(Way way, const Load& load);

  private:
    // Both return true on failure, which they have told.
    bool transfer(Way way, const Load& load, Mount& mount, double& cpuSeconds);
    bool waitForEnd(Process& process, Mount& mount, double& cpuSeconds);

    Supervisor& m_supervisor;
};

}  // namespace bench
