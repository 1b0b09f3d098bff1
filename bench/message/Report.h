#pragma once

#include <cstdint>
#include <string_view>

namespace bench {

/// What a program's printed report says; 0 is what it does not say.
struct Report {
    double rate = 0;             ///< messages per second
    std::uint64_t messages = 0;  ///< answered messages
};

/// Reads the last report of the message test in a program's output. The messages are counted from its histogram, which
/// has one entry per answered burst, so a report without one gives 0.
Report readMessageTestReport(std::string_view output, std::uint64_t burst);

/// Reads the report of the plain exchange.
Report readPlainReport(std::string_view output);

}  // namespace bench
