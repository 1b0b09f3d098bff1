#pragma once

#include <cstdint>
#include <string>

namespace bench {

/// One form of the message test.
struct Pair {
    std::uint32_t payload;  ///< bytes per message
    std::uint32_t burst;    ///< messages per reply

    std::string text() const { return std::to_string(payload) + ":" + std::to_string(burst); }
};

/// What a word must be that stands for a pair.
inline constexpr const char* PairForm = "PAYLOAD:BURST with a payload up to 1048576 and a burst of 1 to 99";

/// Returns true on failure.
[[nodiscard]] bool parsePair(const std::string& word, Pair& pair);

}  // namespace bench
