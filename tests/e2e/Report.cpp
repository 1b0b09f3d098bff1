#include "Report.h"

#include <algorithm>
#include <charconv>
#include <numeric>

namespace {

constexpr std::size_t LineCount = 36;
constexpr const char* DoubleRule = "==============================================";
constexpr const char* Rule = " ---------------------------";
constexpr std::array<const char*, Report::Ranges> Labels{
    " 0             \t ", " 1             \t ", " 2             \t ", " 3             \t ", " 4             \t ",
    " 5             \t ", " 6             \t ", " 7             \t ", " 8             \t ", " 9             \t ",
    " 10-20         \t ", " 21-30         \t ", " 31-40         \t ", " 41-50         \t ", " 51-60         \t ",
    " 61-70         \t ", " 71-80         \t ", " 81-90         \t ", " 91-100        \t ", " 101-200       \t ",
    " 201-500       \t ", " 501-1000      \t ", " >1000         \t "};
constexpr std::array<unsigned long long, Report::Ranges - 1> UpperBounds{
    0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 20, 30, 40, 50, 60, 70, 80, 90, 100, 200, 500, 1000};

// The number behind a label that begins the line and leaves nothing else on it.
unsigned long long numberIn(const std::string& line, const std::string& label) {
    unsigned long long number = 0;
    if (line.compare(0, label.size(), label) == 0)
        std::from_chars(line.data() + label.size(), line.data() + line.size(), number);
    EXPECT_EQ(line, label + std::to_string(number));
    return number;
}

}  // namespace

Report Report::readFrom(Program& program, const std::string& header, Program::Milliseconds atMost) {
    Report report;
    std::vector<std::string> lines;
    do lines = program.waitForBlock(header, LineCount, atMost);
    while (!lines.empty() && lines[7] != Rule);  // it was a periodic report, which ends here
    if (lines.empty()) return report;
    EXPECT_EQ(lines[0], DoubleRule);
    report.messagesPerSecond = numberIn(lines[2], "msgs/second:\t");
    report.bytesPerSecond = numberIn(lines[3], "bytes/second:\t");
    report.averageLatency = numberIn(lines[4], "avg_latency[ms]\t");
    report.maximalLatency = numberIn(lines[5], "max_latency[ms]\t");
    report.noSignalCount = numberIn(lines[6], " debug m_nosignalcnt ");
    EXPECT_EQ(lines[8], " latency histogramm");
    EXPECT_EQ(lines[9], " range [msec] \t count");
    EXPECT_EQ(lines[10], Rule);
    for (std::size_t i = 0; i < Ranges; ++i) report.histogram[i] = numberIn(lines[11 + i], Labels[i]);
    EXPECT_EQ(lines[34], Rule);
    EXPECT_EQ(lines[35], DoubleRule);
    return report;
}

unsigned long long Report::bursts() const {
    return std::accumulate(histogram.begin(), histogram.end(), 0ULL);
}

std::size_t Report::rangeOf(unsigned long long latency) {
    return static_cast<std::size_t>(std::lower_bound(UpperBounds.begin(), UpperBounds.end(), latency) -
                                    UpperBounds.begin());
}
