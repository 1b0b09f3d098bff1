// Measures transfers through transportserver against the least that a FUSE file system costs.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "Options.h"
#include "Runner.h"
#include "Supervisor.h"
#include "Table.h"
#include "Watch.h"

namespace {

constexpr double RunTime = 1.5;  // seconds
constexpr std::uint64_t TrialCount = 2000;

bool isFuseMissing() {
    const int device = ::open("/dev/fuse", O_RDWR | O_CLOEXEC);
    if (device < 0) return true;
    ::close(device);
    return false;
}

// The load that the null file takes about the run time for.
std::optional<bench::Load> chooseLoad(bench::Runner& runner, std::uint32_t block) {
    const auto trial = runner.run(bench::Way::DdNullFile, {block, TrialCount});
    if (!trial) return std::nullopt;
    return bench::Load{block, std::max<std::uint64_t>(1, static_cast<std::uint64_t>(trial->rate * RunTime / block))};
}

// Returns true on failure. The ways take turns within every run, so that all meet the same machine.
bool measure(bench::Runner& runner, std::uint32_t block, std::uint32_t runs, bench::Results& results) {
    const auto load = chooseLoad(runner, block);
    if (!load) return true;
    for (std::uint32_t run = 0; run < runs; ++run) {
        for (std::size_t way = 0; way < bench::Ways; ++way) {
            const auto measurement = runner.run(static_cast<bench::Way>(way), *load);
            if (!measurement) return true;
            results[way].push_back(*measurement);
        }
    }
    return false;
}

bool measureAll(const bench::Options& options) {
    const bench::Watch watch;
    bench::Supervisor supervisor(watch);
    bench::Runner runner(supervisor);
    bool failed = false;
    bench::printHeader();
    for (const std::uint32_t block : options.blocks) {
        bench::Results results;
        const bool incomplete = measure(runner, block, options.runs, results);
        if (incomplete) bench::printFailure(block);
        failed |= incomplete || bench::printBlock(block, results);
        if (supervisor.isInterrupted()) break;
    }
    return failed;
}

}  // namespace

int main(int argc, char** argv) {
    bench::Options options;
    if (const auto status = bench::parseOptions(argc, argv, options)) return *status;
    if (isFuseMissing()) {
        std::fprintf(stderr, "transfer_bench: needs FUSE file systems, but /dev/fuse: %s\n", std::strerror(errno));
        return 3;
    }
    // What dd prints is read.
    ::setenv("LC_ALL", "C", 1);
    return measureAll(options) ? 1 : 0;
}
