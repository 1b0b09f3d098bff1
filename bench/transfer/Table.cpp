#include "Table.h"

#include <cstdio>

#include "Statistics.h"

namespace bench {
namespace {

constexpr double WantedRatio = 0.8;
constexpr std::uint32_t JudgedBlock = 1U << 20;
constexpr std::array<const char*, Ways> Names{"dd, null file", "dd, transport", "zidbench, transport"};

}  // namespace

void printHeader() {
    std::printf("%-8s %-19s %7s %18s %11s %6s  >= %.1f\n", "block", "transfer", "MB/s", "min..max MB/s", "CPU us/MiB",
                "ratio", WantedRatio);
    std::fflush(stdout);
}

bool printBlock(std::uint32_t block, const Results& results) {
    const double base = summarise(results[0], &Measurement::rate).median;
    bool below = false;
    for (std::size_t way = 0; way < Ways; ++way) {
        const Statistics rate = summarise(results[way], &Measurement::rate);
        const double ratio = rate.median / base;
        const bool judged = block == JudgedBlock && way == static_cast<std::size_t>(Way::ZidbenchTransport);
        below |= judged && ratio < WantedRatio;
        std::printf("%-8u %-19s %7.0f %8.0f..%-8.0f %11.1f %6.2f%s\n", block, Names[way], rate.median / 1e6,
                    rate.least / 1e6, rate.most / 1e6, summarise(results[way], &Measurement::cpuPerMiB).median, ratio,
                    !judged ? ""
                    : below ? "  NO"
                            : "  yes");
    }
    std::fflush(stdout);
    return below;
}

void printFailure(std::uint32_t block) {
    std::printf("%-8u a run failed\n", block);
    std::fflush(stdout);
}

}  // namespace bench
