#pragma once

#include <algorithm>
#include <iterator>
#include <utility>
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

/// Of one member of each measurement.
template <class T>
Statistics summarise(const std::vector<T>& measurements, double T::*value) {
    std::vector<double> values;
    std::transform(measurements.begin(), measurements.end(), std::back_inserter(values),
                   [value](const T& measurement) { return measurement.*value; });
    return summarise(std::move(values));
}

}  // namespace bench
