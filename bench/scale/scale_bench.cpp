// Measures many message tests of zidbench at once.

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Load.h"
#include "Options.h"
#include "Statistics.h"
#include "Supervisor.h"
#include "Table.h"
#include "Verdicts.h"
#include "Watch.h"

namespace {

constexpr std::uint32_t IdleDelay = 1000;  // milliseconds
constexpr double IdleTime = 1.5;           // seconds, so that every client has sent
constexpr double MostIdleKiB = 1024;
constexpr std::uint32_t BaseCount = 2;
constexpr double WantedOfBase = 0.8;

/// What one run measured.
struct Measurement {
    double rate;           ///< messages per second of all pairs together
    double cpuPerMessage;  ///< microseconds of both shells together
    double cores;          ///< CPU seconds a second
    double idleKiB;        ///< of memory, per pair
    double busyKiB;        ///< of memory, per pair
};

struct Result {
    std::uint32_t count;  ///< of pairs
    std::vector<Measurement> runs;

    double median(double Measurement::*figure) const { return bench::summarise(runs, figure).median; }
};

// Nothing on failure, which has been told.
std::optional<Measurement> measure(const bench::Options& options, bench::Supervisor& supervisor, std::uint32_t count) {
    double idleKiB = 0;
    {
        bench::Load idle(options, supervisor);
        if (idle.start(count, IdleDelay) || idle.keepRunning(IdleTime) || idle.measureMemory(idleKiB))
            return std::nullopt;
    }
    double busyKiB = 0;
    bench::Load busy(options, supervisor);
    if (busy.start(count, 0) || busy.keepRunning(options.seconds) || busy.measureMemory(busyKiB)) return std::nullopt;
    const auto total = busy.stop();
    if (!total) return std::nullopt;
    const auto messages = static_cast<double>(total->messages);
    return Measurement{messages / total->seconds, total->cpuSeconds * 1e6 / messages,
                       total->cpuSeconds / total->seconds, idleKiB, busyKiB};
}

// Returns true when a run failed. The counts take turns within every run, so that all meet the same machine.
bool measureAll(const bench::Options& options, bench::Supervisor& supervisor, std::vector<Result>& results) {
    bool failed = false;
    for (std::uint32_t run = 0; run < options.runs; ++run) {
        for (Result& result : results) {
            const auto measurement = measure(options, supervisor, result.count);
            failed |= !measurement;
            if (measurement) result.runs.push_back(*measurement);
            if (supervisor.isInterrupted()) return true;
        }
    }
    return failed;
}

std::vector<std::string> cells(const Result& result) {
    using bench::decimal;
    if (result.runs.empty()) return {std::to_string(result.count), "failed"};
    const bench::Statistics rate = bench::summarise(result.runs, &Measurement::rate);
    return {std::to_string(result.count),
            decimal(rate.median, 0),
            bench::range(rate),
            decimal(rate.median / result.count, 0),
            decimal(result.median(&Measurement::cpuPerMessage), 2),
            decimal(result.median(&Measurement::cores), 2),
            decimal(result.median(&Measurement::idleKiB), 0),
            decimal(result.median(&Measurement::busyKiB), 0)};
}

void print(const std::vector<Result>& results, bool markdown) {
    const bench::Table table({{"pairs", 6},
                              {"msgs/s", 9},
                              {"min..max msgs/s", 17},
                              {"msgs/s per pair", 15},
                              {"CPU us/msg", 10},
                              {"cores", 5},
                              {"KiB/idle pair", 13},
                              {"KiB/busy pair", 13}},
                             markdown);
    table.printHeader();
    for (const Result& result : results) table.printRow(cells(result));
}

// Returns true when a verdict is NO. The results are in the order of their counts, and each has a run.
bool judge(const std::vector<Result>& results, bool markdown) {
    bench::Verdicts verdicts;
    const auto base =
        std::find_if(results.begin(), results.end(), [](const Result& result) { return result.count == BaseCount; });
    if (base != results.end() && results.back().count > BaseCount)
        verdicts.wantAtLeast(WantedOfBase, std::to_string(results.back().count) + " pairs: msgs/s over that of 2",
                             results.back().median(&Measurement::rate) / base->median(&Measurement::rate));
    for (const Result& result : results)
        verdicts.wantAtMost(MostIdleKiB, std::to_string(result.count) + " pairs: KiB/idle pair",
                            result.median(&Measurement::idleKiB));
    return verdicts.print(markdown);
}

// Returns true when a run failed or a verdict is NO.
bool run(const bench::Options& options) {
    const bench::Watch watch;
    bench::Supervisor supervisor(watch);
    std::vector<Result> results;
    for (const std::uint32_t count : options.counts) results.push_back({count, {}});
    const bool failed = measureAll(options, supervisor, results);
    if (supervisor.isInterrupted()) return true;
    print(results, options.markdown);
    std::erase_if(results, [](const Result& result) { return result.runs.empty(); });
    return judge(results, options.markdown) || failed;
}

}  // namespace

int main(int argc, char** argv) {
    bench::Options options;
    options.zidbench = ZIDBENCH_PROGRAM;
    if (const auto status = bench::parseOptions(argc, argv, options)) return *status;
    std::sort(options.counts.begin(), options.counts.end());
    return run(options) ? 1 : 0;
}
