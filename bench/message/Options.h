#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Pair.h"

namespace bench {

/// What the driver's command line asks for.
struct Options {
    double seconds = 2;  ///< of each run of each program
    std::uint32_t runs = 5;
    std::string zidbench;
    std::string plainExchange;
    std::string peers;  ///< the program that runs other transports; empty for none
    bool markdown = false;
    std::vector<Pair> pairs{{100, 1}, {100, 99}, {65536, 10}, {1048576, 1}, {1048576, 10}};
};

/// Reads the arguments of `main` over the defaults given. Returns the status to exit with when that is all to be done.
std::optional<int> parseOptions(int argc, char** argv, Options& options);

}  // namespace bench
