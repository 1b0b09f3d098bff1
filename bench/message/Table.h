#pragma once

#include <vector>

#include "Options.h"
#include "Runner.h"

namespace bench {

/// The least ratio of zidbench's median rate to the plain exchange's.
inline constexpr double WantedRatio = 0.8;

void printHeader();

/// Prints the lines of one pair to standard output. Returns true when the ratio is below `WantedRatio`.
[[nodiscard]] bool printPair(const Pair& pair, const std::vector<Measurement>& zidbench,
                             const std::vector<Measurement>& plainExchange);

/// Prints that a pair has no result.
void printFailure(const Pair& pair);

}  // namespace bench
