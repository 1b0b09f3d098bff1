#include "Pair.h"

#include "Number.h"

namespace bench {
namespace {

constexpr std::uint32_t MaxPayload = 1U << 20;
constexpr std::uint32_t MaxBurst = 99;

}  // namespace

bool parsePair(const std::string& word, Pair& pair) {
    const std::size_t colon = word.find(':');
    if (colon == std::string::npos) return true;
    return parseNumber(word.substr(0, colon), 0U, MaxPayload, pair.payload) ||
           parseNumber(word.substr(colon + 1), 1U, MaxBurst, pair.burst);
}

}  // namespace bench
