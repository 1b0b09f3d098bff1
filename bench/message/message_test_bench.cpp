// Measures the message test of zidbench against the same exchange over a plain socket.

#include <cstdio>
#include <string>
#include <vector>

#include "Options.h"
#include "Runner.h"
#include "Supervisor.h"
#include "Table.h"
#include "Watch.h"

namespace {

// Returns true on failure. The two programs take turns within every run, so that both meet the same machine.
bool measure(bench::Runner& runner, const bench::Pair& pair, std::uint32_t runs) {
    std::vector<bench::Measurement> zidbench;
    std::vector<bench::Measurement> plainExchange;
    for (std::uint32_t run = 0; run < runs; ++run) {
        const auto first = runner.runZidbench(pair);
        const auto second = first ? runner.runPlainExchange(pair) : std::nullopt;
        if (!second) {
            bench::printFailure(pair);
            return true;
        }
        zidbench.push_back(*first);
        plainExchange.push_back(*second);
    }
    return bench::printPair(pair, zidbench, plainExchange);
}

bool measureAll(const bench::Options& options) {
    const bench::Watch watch;
    bench::Supervisor supervisor(watch);
    bench::Runner runner(options, supervisor);
    bool failed = false;
    bench::printHeader();
    for (const bench::Pair& pair : options.pairs) {
        failed |= measure(runner, pair, options.runs);
        if (supervisor.isInterrupted()) break;
    }
    return failed;
}

}  // namespace

int main(int argc, char** argv) {
    bench::Options options;
    options.zidbench = ZIDBENCH_PROGRAM;
    options.plainExchange = PLAIN_EXCHANGE_PROGRAM;
    std::string problem;
    if (bench::parseOptions({argv + 1, argv + argc}, options, problem)) {
        std::fprintf(stderr, "%s\n%s", problem.c_str(), bench::usage(argv[0]).c_str());
        return 2;
    }
    if (options.help) {
        std::fputs(bench::usage(argv[0]).c_str(), stdout);
        return 0;
    }
    return measureAll(options) ? 1 : 0;
}
