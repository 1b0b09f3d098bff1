#include "Options.h"

#include "CommandLine.h"

namespace bench {
namespace {

constexpr std::uint32_t MaxCount = 99;

std::string usage(const std::string& program) {
    return "usage: " + program +
           " [--seconds S] [--runs R] [--zidbench PATH] [--pair PAYLOAD:BURST] [--markdown] [COUNT ...]\n"
           "Measures many message tests of zidbench at once.\n"
           "  --seconds S           how long each run takes with all tests at work (3)\n"
           "  --runs R              how often each count runs (5)\n"
           "  --zidbench PATH       the program to measure (the one built with this)\n"
           "  --pair PAYLOAD:BURST  bytes per message and messages per reply (100:10)\n"
           "  --markdown            print the tables in Markdown\n"
           "  COUNT                 of pairs of a service and a client (1 2 8 32 99)\n"
           "The exit status is 1 when a run fails or a verdict is NO, and 2 for a wrong command line.\n";
}

}  // namespace

std::optional<int> parseOptions(int argc, char** argv, Options& options) {
    std::vector<std::uint32_t> counts;
    const auto setPair = [&options](const std::string& word) { return parsePair(word, options.pair); };
    const auto addCount = [&counts](const std::string& word) {
        return parseNumber(word, 1U, MaxCount, counts.emplace_back());
    };
    const auto status = parseCommandLine({argv + 1, argv + argc},
                                         {numberOption("--seconds", LeastSeconds, MaxSeconds, options.seconds),
                                          numberOption("--runs", 1U, MaxRuns, options.runs),
                                          textOption("--zidbench", options.zidbench),
                                          flagOption("--markdown", options.markdown),
                                          {"--pair", PairForm, setPair},
                                          {"", "a COUNT from 1 to 99", addCount}},
                                         usage(argv[0]));
    if (!counts.empty()) options.counts = counts;
    return status;
}

}  // namespace bench
