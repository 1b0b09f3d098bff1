#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>

/// What the suite has done and counted, and how it ends at a finding.
class Journal {
  public:
    /// Prints the seed.
    Journal(std::uint64_t seed, bool verbose);

    /// Begins a step; the same kinds are counted together. `note` adds to its description.
    void step(const std::string& kind);
    void note(const std::string& text);
    void count(const std::string& what, unsigned long long number = 1) { m_counts[what] += number; }

    /// One line with all that was counted.
    void print() const;

    /// Tells what is wrong, how it came about, and what else `more` knows, and ends the process with status 1.
    [[noreturn]] void finding(const std::string& text) const;
    std::function<std::string()> more;

  private:
    static constexpr std::size_t Remembered = 30;

    const std::uint64_t m_seed;
    const bool m_verbose;
    unsigned m_number = 0;
    std::deque<std::string> m_steps;
    std::map<std::string, unsigned> m_kinds;
    std::map<std::string, unsigned long long> m_counts;
};
