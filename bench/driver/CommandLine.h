#pragma once

#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "Number.h"

namespace bench {

inline constexpr unsigned MaxRuns = 1000;
inline constexpr double LeastSeconds = 0.1;
inline constexpr double MaxSeconds = 3600;

/// One of the things that a command line may hold.
struct Option {
    std::string name;    ///< with its hyphens; empty for the words that are no options
    std::string wanted;  ///< what its value, or such a word, must be; empty for an option without a value
    std::function<bool(const std::string&)> set;  ///< takes the value; returns true when it is not what is wanted
};

Option flagOption(const std::string& name, bool& given);
Option textOption(const std::string& name, std::string& text);

template <class T>
Option numberOption(const std::string& name, T least, T most, T& number) {
    std::ostringstream wanted;
    wanted << "a number from " << least << " to " << most;
    return {name, wanted.str(),
            [=, &number](const std::string& word) { return parseNumber(word, least, most, number); }};
}

/// Reads the arguments of `main`; one option is the one without a name. Returns the status to exit with when that is
/// all to be done: 0 for `--help`, with the usage text printed, and 2 for a word that is wrong, with what it must be
/// and the usage text on standard error.
std::optional<int> parseCommandLine(const std::vector<std::string>& arguments, const std::vector<Option>& options,
                                    const std::string& usage);

}  // namespace bench
