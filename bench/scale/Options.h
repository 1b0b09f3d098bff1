#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Pair.h"

namespace bench {

/// What the driver's command line asks for.
struct Options {
    double seconds = 3;  ///< of each run under load, with all pairs connected
    std::uint32_t runs = 5;
    std::string zidbench;
    Pair pair{100, 10};
    bool markdown = false;
    std::vector<std::uint32_t> counts{1, 2, 8, 32, 99};  ///< of pairs of a service and a client
};

/// Reads the arguments of `main` over the defaults given. Returns the status to exit with when that is all to be done.
std::optional<int> parseOptions(int argc, char** argv, Options& options);

}  // namespace bench
