#include "Options.h"

#include "Number.h"

namespace bench {
namespace {

constexpr std::uint32_t MaxPayload = 1U << 20;
constexpr std::uint32_t MaxBurst = 99;
constexpr std::uint32_t MaxRuns = 1000;
constexpr double LeastSeconds = 0.1;
constexpr double MaxSeconds = 3600;

bool parsePair(const std::string& word, Pair& pair) {
    const std::size_t colon = word.find(':');
    if (colon == std::string::npos) return true;
    return parseNumber(word.substr(0, colon), 0U, MaxPayload, pair.payload) ||
           parseNumber(word.substr(colon + 1), 1U, MaxBurst, pair.burst);
}

bool isValueOption(const std::string& word) {
    return word == "--seconds" || word == "--runs" || word == "--zidbench";
}

// Returns what the value must be when it is not that.
std::string setValue(Options& options, const std::string& name, const std::string& value) {
    if (name == "--seconds" && parseNumber(value, LeastSeconds, MaxSeconds, options.seconds))
        return "a number from 0.1 to 3600";
    if (name == "--runs" && parseNumber(value, 1U, MaxRuns, options.runs)) return "a number from 1 to 1000";
    if (name == "--zidbench") options.zidbench = value;
    return {};
}

bool addPair(const std::string& word, std::vector<Pair>& pairs, std::string& problem) {
    Pair pair{};
    if (parsePair(word, pair)) {
        problem = word + ": neither an option nor PAYLOAD:BURST with a payload up to 1048576 and a burst of 1 to 99";
        return true;
    }
    pairs.push_back(pair);
    return false;
}

}  // namespace

bool parseOptions(const std::vector<std::string>& arguments, Options& options, std::string& problem) {
    std::vector<Pair> pairs;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        if (word == "--help") {
            options.help = true;
        } else if (!isValueOption(word)) {
            if (addPair(word, pairs, problem)) return true;
        } else {
            const std::string wanted =
                i + 1 == arguments.size() ? "followed by a value" : setValue(options, word, arguments[i + 1]);
            if (!wanted.empty()) {
                problem.append(word).append(" must be ").append(wanted);
                return true;
            }
            ++i;
        }
    }
    if (!pairs.empty()) options.pairs = pairs;
    return false;
}

std::string usage(const std::string& program) {
    return "usage: " + program + " [--seconds S] [--runs R] [--zidbench PATH] [PAYLOAD:BURST ...]\n" +
           "Measures the message test of zidbench against the same exchange over a plain socket.\n"
           "  --seconds S      how long each program runs each time (2)\n"
           "  --runs R         how often each program runs for each pair (5)\n"
           "  --zidbench PATH  the program to measure (the one built with this)\n"
           "  PAYLOAD:BURST    bytes per message and messages per reply\n"
           "                   (100:1 100:99 65536:10 1048576:1 1048576:10)\n"
           "The exit status is 1 when a run fails or a ratio is below 0.8, and 2 for a wrong command line.\n";
}

}  // namespace bench
