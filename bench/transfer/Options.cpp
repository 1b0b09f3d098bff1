#include "Options.h"

#include "Number.h"

namespace bench {
namespace {

constexpr std::uint32_t MaxBlock = 1U << 20;
constexpr std::uint32_t MaxRuns = 1000;

}  // namespace

bool parseOptions(const std::vector<std::string>& arguments, Options& options, std::string& problem) {
    std::vector<std::uint32_t> blocks;
    for (std::size_t i = 0; i < arguments.size() && problem.empty(); ++i) {
        const std::string& word = arguments[i];
        if (word == "--help") {
            options.help = true;
        } else if (word == "--runs") {
            if (++i == arguments.size() || parseNumber(arguments[i], 1U, MaxRuns, options.runs))
                problem = "--runs must be followed by a number from 1 to 1000";
        } else if (parseNumber(word, 1U, MaxBlock, blocks.emplace_back())) {
            problem = word + ": neither an option nor a BLOCK of 1 to 1048576 bytes";
        }
    }
    if (!blocks.empty()) options.blocks = blocks;
    return !problem.empty();
}

std::string usage(const std::string& program) {
    return "usage: " + program + " [--runs R] [BLOCK ...]\n" +
           "Measures transfers through transportserver against the least that a FUSE file system costs.\n"
           "  --runs R  how often each transfer runs for each block size (5)\n"
           "  BLOCK     bytes that each read and write moves (1048576 65536)\n"
           "The exit status is 1 when a run fails or the ratio for 1048576 is below 0.8, 2 for a wrong command line, "
           "and\n"
           "3 where there are no FUSE file systems.\n";
}

}  // namespace bench
