#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace bench {

/// What the driver's command line asks for.
struct Options {
    std::uint32_t runs = 5;
    std::vector<std::uint32_t> blocks{1048576, 65536};  ///< bytes
};

/// Reads the arguments of `main` over the defaults. Returns the status to exit with when that is all to be done.
std::optional<int> parseOptions(int argc, char** argv, Options& options);

}  // namespace bench
