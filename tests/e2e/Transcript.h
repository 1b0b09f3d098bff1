#pragma once

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

/// What a program has written to one of its streams.
///
/// A pattern is a whole line, or with an asterisk at its end the beginning of one.
class Transcript {
  public:
    void append(const char* bytes, std::size_t count) { m_text.append(bytes, count); }

    const std::string& text() const { return m_text; }
    /// The lines that are complete, without their ends.
    std::vector<std::string> lines() const;
    std::size_t count(const std::string& pattern) const;
    /// Whether the lines stand there in this order, others between them or not.
    testing::AssertionResult holdsInOrder(const std::vector<std::string>& patterns) const;

    /// Finds the first line that matches and was not taken before, and takes it. False if there is none.
    bool take(const std::string& pattern, std::size_t& index);
    /// Finds a text behind the one that was found before it. False if there is none.
    bool pass(const std::string& text);

  private:
    std::string m_text;
    std::set<std::size_t> m_taken;
    std::size_t m_passed = 0;
};
