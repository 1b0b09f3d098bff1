#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

/// The ranges in which round trips are counted, in whole milliseconds.
namespace LatencyHistogram {

struct Range {
    std::uint32_t last;  ///< the largest round trip that belongs to it; the first is the one after the range before
    const char* label;
};

constexpr std::array<Range, 23> Ranges{{
    {0, "0"},
    {1, "1"},
    {2, "2"},
    {3, "3"},
    {4, "4"},
    {5, "5"},
    {6, "6"},
    {7, "7"},
    {8, "8"},
    {9, "9"},
    {20, "10-20"},
    {30, "21-30"},
    {40, "31-40"},
    {50, "41-50"},
    {60, "51-60"},
    {70, "61-70"},
    {80, "71-80"},
    {90, "81-90"},
    {100, "91-100"},
    {200, "101-200"},
    {500, "201-500"},
    {1000, "501-1000"},
    {std::numeric_limits<std::uint32_t>::max(), ">1000"},
}};

/// Round trips above this are worth a line of their own.
constexpr std::uint32_t BigLatency = 1000;

/// The index of the range that a round trip belongs to.
constexpr std::size_t indexOf(std::uint32_t roundTrip) {
    const auto* const range = std::find_if(Ranges.begin(), Ranges.end(),
                                           [roundTrip](const Range& candidate) { return roundTrip <= candidate.last; });
    return static_cast<std::size_t>(range - Ranges.begin());
}

}  // namespace LatencyHistogram
