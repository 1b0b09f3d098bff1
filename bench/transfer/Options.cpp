#include "Options.h"

#include <string>

#include "CommandLine.h"

namespace bench {
namespace {

constexpr std::uint32_t MaxBlock = 1U << 20;

std::string usage(const std::string& program) {
    return "usage: " + program + " [--runs R] [BLOCK ...]\n" +
           "Measures transfers through transportserver against the least that a FUSE file system costs.\n"
           "  --runs R  how often each transfer runs for each block size (5)\n"
           "  BLOCK     bytes that each read and write moves (1048576 65536)\n"
           "The exit status is 1 when a run fails or the ratio for 1048576 is below 0.8, 2 for a wrong command line, "
           "and\n"
           "3 where there are no FUSE file systems.\n";
}

}  // namespace

std::optional<int> parseOptions(int argc, char** argv, Options& options) {
    std::vector<std::uint32_t> blocks;
    const auto addBlock = [&blocks](const std::string& word) {
        return parseNumber(word, 1U, MaxBlock, blocks.emplace_back());
    };
    const auto status = parseCommandLine(
        {argv + 1, argv + argc},
        {numberOption("--runs", 1U, MaxRuns, options.runs), {"", "a BLOCK of 1 to 1048576 bytes", addBlock}},
        usage(argv[0]));
    if (!blocks.empty()) options.blocks = blocks;
    return status;
}

}  // namespace bench
