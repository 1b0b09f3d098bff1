#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

/// What the driver's command line asks for.
struct Options {
    std::uint32_t runs = 5;
    std::vector<std::uint32_t> blocks{1048576, 65536};  ///< bytes
    bool help = false;
};

/// Reads the command line over the defaults. Returns true on failure, with `problem` naming the word that is wrong and
/// what it may be.
[[nodiscard]] bool parseOptions(const std::vector<std::string>& arguments, Options& options, std::string& problem);

/// The usage text, lines ended.
std::string usage(const std::string& program);

}  // namespace bench
