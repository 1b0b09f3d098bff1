#pragma once

#include <array>
#include <compare>
#include <cstdint>

#include "ipl/string.h"

namespace ipl {

/// A universally unique identifier, a plain value.
class UUID {
  public:
    /// The bytes in the order in which the text form shows them.
    using Bytes = std::array<std::uint8_t, 16>;

    constexpr UUID() = default;

    /// From the components of the text form: time-low, time-mid, time-high-and-version, clock sequence, node.
    constexpr UUID(std::uint32_t timeLow, std::uint16_t timeMid, std::uint16_t timeHigh, std::uint16_t clockSequence,
                   std::uint8_t node0, std::uint8_t node1, std::uint8_t node2, std::uint8_t node3, std::uint8_t node4,
                   std::uint8_t node5)
        : m_bytes{byteOf(timeLow, 3),
                  byteOf(timeLow, 2),
                  byteOf(timeLow, 1),
                  byteOf(timeLow, 0),
                  byteOf(timeMid, 1),
                  byteOf(timeMid, 0),
                  byteOf(timeHigh, 1),
                  byteOf(timeHigh, 0),
                  byteOf(clockSequence, 1),
                  byteOf(clockSequence, 0),
                  node0,
                  node1,
                  node2,
                  node3,
                  node4,
                  node5} {}

    /// Lower-case hexadecimal digits in groups of 8-4-4-4-12.
    string toString() const;

    constexpr const Bytes& bytes() const { return m_bytes; }

    friend constexpr auto operator<=>(const UUID&, const UUID&) = default;

  private:
    static constexpr std::uint8_t byteOf(std::uint32_t value, unsigned index) {
        return static_cast<std::uint8_t>(value >> (8 * index));
    }

    Bytes m_bytes{};
};

}  // namespace ipl
