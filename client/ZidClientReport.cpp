// The client's statistics report. Its format is what other programs read: every character belongs to it.

#include <cstdio>

#include "LatencyHistogram.h"
#include "ZidClient.h"

namespace {

constexpr const char* DoubleRule = "==============================================\n";
constexpr const char* Rule = " ---------------------------\n";

unsigned long long wide(std::uint64_t figure) {
    return figure;
}

}  // namespace

void ZidClient::printStats(bool withHistogram) const {
    // Other threads' lines come before or after the report, not into it.
    ::flockfile(stdout);
    std::printf("%s", DoubleRule);
    std::printf("ZID stats(inst=%d, payload=%d, delay=%d, burst=%d\n", m_instance, static_cast<int>(m_payload), m_delay,
                m_burst);
    std::printf("msgs/second:\t%llu\n", wide(m_msgspersec));
    std::printf("bytes/second:\t%llu\n", wide(m_bytespersec));
    std::printf("avg_latency[ms]\t%llu\n", wide(m_avglatency));
    std::printf("max_latency[ms]\t%d\n", static_cast<int>(m_maxlatency));
    std::printf(" debug m_nosignalcnt %d\n", m_nosignalcnt.load());
    if (withHistogram) printHistogram();
    ::funlockfile(stdout);
}

void ZidClient::printHistogram() const {
    std::printf("%s", Rule);
    std::printf(" latency histogramm\n");
    std::printf(" range [msec] \t count\n");
    std::printf("%s", Rule);
    for (std::size_t i = 0; i < LatencyHistogram::Ranges.size(); ++i)
        std::printf(" %-14s\t %d\n", LatencyHistogram::Ranges[i].label, static_cast<int>(m_histogram[i]));
    std::printf("%s", Rule);
    std::printf("%s", DoubleRule);
}
