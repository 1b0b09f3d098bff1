#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "Runner.h"

namespace bench {

/// The measurements of each way, in the order of `Way`.
using Results = std::array<std::vector<Measurement>, Ways>;

void printHeader();

/// Prints the lines of one block size to standard output. Returns true when it is the size that is judged and
/// zidbench's ratio is too low.
[[nodiscard]] bool printBlock(std::uint32_t block, const Results& results);

/// Prints that a block size has no result.
void printFailure(std::uint32_t block);

}  // namespace bench
