#pragma once

#include <chrono>

#include "Steps.h"
#include "TemporaryDirectory.h"

/// A run of the suite, in a runtime directory of its own.
class Driver {
  public:
    Driver(std::uint64_t seed, bool verbose);

    /// Does steps for that time and checks that nothing is left over. Ends the process with status 1 at a finding.
    void run(std::chrono::seconds time);

  private:
    void replaceLeftovers();
    void checkNothingIsLeft(std::size_t descriptors);

    TemporaryDirectory m_directory;
    Dice m_dice;
    Journal m_journal;
    Team m_team;
    Steps m_steps;
};
