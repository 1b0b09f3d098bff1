#pragma once

#include <vector>

namespace bench {

/// What several measurements of one thing come to.
struct Statistics {
    double median = 0;
    double least = 0;
    double most = 0;
};

/// All 0 for no values; of an even number of values the median is the mean of the middle two.
Statistics summarise(std::vector<double> values);

}  // namespace bench
