#include "Options.h"

#include "CommandLine.h"

namespace bench {
namespace {

std::string usage(const std::string& program) {
    return "usage: " + program +
           " [--seconds S] [--runs R] [--zidbench PATH] [--peers PROGRAM] [--markdown] [PAYLOAD:BURST ...]\n"
           "Measures the message test of zidbench against the same exchange over a plain socket.\n"
           "  --seconds S      how long each program runs each time (2)\n"
           "  --runs R         how often each program runs for each pair (5)\n"
           "  --zidbench PATH  the program to measure (the one built with this)\n"
           "  --peers PROGRAM  compare with other transports too, which this program runs\n"
           "  --markdown       print the tables in Markdown\n"
           "  PAYLOAD:BURST    bytes per message and messages per reply\n"
           "                   (100:1 100:99 65536:10 1048576:1 1048576:10)\n"
           "The exit status is 1 when a run fails or a verdict is NO, and 2 for a wrong command line.\n";
}

}  // namespace

std::optional<int> parseOptions(int argc, char** argv, Options& options) {
    std::vector<Pair> pairs;
    const auto addPair = [&pairs](const std::string& word) { return parsePair(word, pairs.emplace_back()); };
    const auto status = parseCommandLine({argv + 1, argv + argc},
                                         {numberOption("--seconds", LeastSeconds, MaxSeconds, options.seconds),
                                          numberOption("--runs", 1U, MaxRuns, options.runs),
                                          textOption("--zidbench", options.zidbench),
                                          textOption("--peers", options.peers),
                                          flagOption("--markdown", options.markdown),
                                          {"", PairForm, addPair}},
                                         usage(argv[0]));
    if (!pairs.empty()) options.pairs = pairs;
    return status;
}

}  // namespace bench
