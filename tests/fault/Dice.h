#pragma once

#include <cstdint>
#include <random>
#include <vector>

/// Chance that a seed repeats. One thread.
class Dice {
  public:
    explicit Dice(std::uint64_t seed) : m_engine(seed) {}

    /// A number from 0 to one less than `count`.
    unsigned upTo(unsigned count) { return static_cast<unsigned>(m_engine() % count); }
    unsigned between(unsigned least, unsigned most) { return least + upTo(most - least + 1); }
    bool oneIn(unsigned count) { return upTo(count) == 0; }
    std::uint64_t bits() { return m_engine(); }

    template <class Item>
    const Item& oneOf(const std::vector<Item>& items) {
        return items[upTo(static_cast<unsigned>(items.size()))];
    }

  private:
    std::mt19937_64 m_engine;
};
