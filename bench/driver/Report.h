#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace bench {

/// What a program's printed report says; 0 is what it does not say.
struct Report {
    double rate = 0;             ///< messages per second
    std::uint64_t messages = 0;  ///< answered messages
    double cpuSeconds = 0;       ///< of all processes; peers alone say it
};

/// Reads the last report of the message test in a program's output. The messages are counted from its histogram, which
/// has one entry per answered burst, so a report without one gives 0.
Report readMessageTestReport(std::string_view output, std::uint64_t burst);

/// The answered messages of all final reports of the message test in a program's output.
std::uint64_t countAnswered(std::string_view output, std::uint64_t burst);

/// Whether a client of the message test has given up waiting for a reply.
bool hasTimedOut(std::string_view output);

/// Reads the report of the plain exchange.
Report readPlainReport(std::string_view output);

/// Reads the line of a transport in the output of the program that runs peers, which has measured for that many
/// seconds. A line that does not end with its figures gives 0.
Report readPeerReport(const std::string& output, const std::string& transport, double seconds);

}  // namespace bench
