#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <span>

#include "Ring.h"

/// What the fuzzer has made up, taken piece by piece; zeros when it is used up.
class Input {
  public:
    Input(const std::uint8_t* data, std::size_t size) : m_rest(data, size) {}

    bool empty() const { return m_rest.empty(); }

    template <class Number>
    Number take() {
        Number number{};
        const std::span<const std::uint8_t> taken = take(sizeof number);
        if (!taken.empty()) std::memcpy(&number, taken.data(), taken.size());
        return number;
    }

    std::uint8_t byte() { return take<std::uint8_t>(); }

    /// Mostly one that is or could be in the ring.
    comm::transport::RingPosition position() {
        const auto number = take<std::uint32_t>();
        return {number & 0x0fffffffU, number >> 28U};
    }

    /// So many bytes, or fewer at the end.
    std::span<const std::uint8_t> take(std::size_t count) {
        const std::span<const std::uint8_t> taken = m_rest.first(std::min(count, m_rest.size()));
        m_rest = m_rest.subspan(taken.size());
        return taken;
    }

    template <class Value, std::size_t Size>
    Value oneOf(const std::array<Value, Size>& values) {
        return values[byte() % Size];
    }

  private:
    std::span<const std::uint8_t> m_rest;
};

/// Ends the run where something does not hold, so that the fuzzer keeps the input.
inline void require(bool right, const char* fault) {
    if (right) return;
    std::cerr << "fault: " << fault << std::endl;
    std::abort();
}
