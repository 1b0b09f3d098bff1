#include "Statistics.h"

#include <algorithm>

namespace bench {

Statistics summarise(std::vector<double> values) {
    if (values.empty()) return {};
    std::sort(values.begin(), values.end());
    const std::size_t upper = values.size() / 2;
    const std::size_t lower = (values.size() - 1) / 2;
    return {(values[lower] + values[upper]) / 2, values.front(), values.back()};
}

}  // namespace bench
