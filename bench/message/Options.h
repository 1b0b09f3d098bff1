#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

/// One form of the message test.
struct Pair {
    std::uint32_t payload;  ///< bytes per message
    std::uint32_t burst;    ///< messages per reply

    std::string text() const { return std::to_string(payload) + ":" + std::to_string(burst); }
};

/// What the driver's command line asks for.
struct Options {
    double seconds = 2;  ///< of each run of each program
    std::uint32_t runs = 5;
    std::string zidbench;
    std::string plainExchange;
    std::vector<Pair> pairs{{100, 1}, {100, 99}, {65536, 10}, {1048576, 1}, {1048576, 10}};
    bool help = false;
};

/// Reads the command line over the defaults given. Returns true on failure, with `problem` naming the word that is
/// wrong and what it may be.
[[nodiscard]] bool parseOptions(const std::vector<std::string>& arguments, Options& options, std::string& problem);

/// The usage text, lines ended.
std::string usage(const std::string& program);

}  // namespace bench
