// Measures the message test of zidbench against the same exchange over a plain socket and other transports.

#include <cstdint>
#include <vector>

#include "Comparison.h"
#include "Options.h"
#include "Program.h"
#include "Runner.h"
#include "Supervisor.h"
#include "Watch.h"

namespace {

// Returns true when a run failed. The programs take turns within every run, so that all meet the same machine.
bool measure(bench::Runner& runner, const bench::Supervisor& supervisor, const bench::Pair& pair,
             std::vector<bench::Result>& results) {
    bool failed = false;
    for (bench::Result& result : results) {
        if (supervisor.isInterrupted()) return true;
        const auto measurement = runner.run(result.program, pair);
        failed |= !measurement;
        if (measurement) result.runs.push_back(*measurement);
    }
    return failed;
}

std::vector<bench::Result> noResults(bool withPeers) {
    std::vector<bench::Result> results;
    for (const bench::Program& program : bench::programs(withPeers, WITH_DDS)) results.push_back({program, {}});
    return results;
}

bool measureAll(const bench::Options& options) {
    const bench::Watch watch;
    bench::Supervisor supervisor(watch);
    bench::Runner runner(options, supervisor);
    bench::Comparison comparison(options.markdown);
    bool failed = false;
    comparison.printHeader();
    for (const bench::Pair& pair : options.pairs) {
        std::vector<bench::Result> results = noResults(!options.peers.empty());
        for (std::uint32_t run = 0; run < options.runs; ++run) {
            failed |= measure(runner, supervisor, pair, results);
            if (supervisor.isInterrupted()) return true;
        }
        comparison.add(pair, results);
    }
    return comparison.printVerdicts() || failed;
}

}  // namespace

int main(int argc, char** argv) {
    bench::Options options;
    options.zidbench = ZIDBENCH_PROGRAM;
    options.plainExchange = PLAIN_EXCHANGE_PROGRAM;
    if (const auto status = bench::parseOptions(argc, argv, options)) return *status;
    return measureAll(options) ? 1 : 0;
}
