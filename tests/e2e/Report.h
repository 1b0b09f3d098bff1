#pragma once

#include <array>
#include <string>

#include "Program.h"

/// The final report of a message test.
struct Report {
    static constexpr std::size_t Ranges = 23;

    /// Waits for the report whose second line matches the header, and checks its format to the character.
    static Report readFrom(Program& program, const std::string& header,
                           Program::Milliseconds atMost = Program::Watchdog);

    /// The bursts that were answered.
    unsigned long long bursts() const;
    /// The histogram's range that a latency falls into.
    static std::size_t rangeOf(unsigned long long latency);

    unsigned long long messagesPerSecond = 0;
    unsigned long long bytesPerSecond = 0;
    unsigned long long averageLatency = 0;
    unsigned long long maximalLatency = 0;
    unsigned long long noSignalCount = 0;
    std::array<unsigned long long, Ranges> histogram{};
};
