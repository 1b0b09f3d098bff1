#include "Table.h"

#include <cstdio>

#include "Statistics.h"

namespace bench {
namespace {

void printProgram(const char* pair, const char* program, const Pair& form, const std::vector<Measurement>& runs) {
    const Statistics rate = summarise(runs, &Measurement::rate);
    const Statistics cpu = summarise(runs, &Measurement::cpuPerMessage);
    std::printf("%-11s %-15s %10.0f %9.1f %11.2f  %10.0f..%-10.0f", pair, program, rate.median,
                rate.median * form.payload / 1e6, cpu.median, rate.least, rate.most);
}

}  // namespace

void printHeader() {
    std::printf("%-11s %-15s %10s %9s %11s  %-22s %5s  >= %.1f\n", "pair", "program", "msgs/s", "MB/s", "CPU us/msg",
                "  min..max msgs/s", "ratio", WantedRatio);
    std::fflush(stdout);
}

bool printPair(const Pair& pair, const std::vector<Measurement>& zidbench,
               const std::vector<Measurement>& plainExchange) {
    const double ratio =
        summarise(zidbench, &Measurement::rate).median / summarise(plainExchange, &Measurement::rate).median;
    const bool below = ratio < WantedRatio;
    printProgram(pair.text().c_str(), "zidbench", pair, zidbench);
    std::printf(" %5.2f  %s\n", ratio, below ? "NO" : "yes");
    printProgram("", "plain_exchange", pair, plainExchange);
    std::printf("\n");
    std::fflush(stdout);
    return below;
}

void printFailure(const Pair& pair) {
    std::printf("%-11s a run failed\n", pair.text().c_str());
    std::fflush(stdout);
}

}  // namespace bench
