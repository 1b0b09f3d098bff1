#include "Comparison.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace bench {
namespace {

using Kind = Program::Kind;

constexpr std::uint32_t LargePayload = 65536;

// How many times the rate of the fastest library is wanted; 0 where nothing is.
double wantedOfLibraries(const Pair& pair) {
    if (pair.payload == 100 && pair.burst == 99) return 1.8;
    return pair.payload >= LargePayload ? 1.0 : 0;
}

double wantedOfPlainExchange(const Pair& pair) {
    return pair.payload == 100 && pair.burst == 1 ? 1.0 : 0.8;
}

// The results of a kind that have any runs.
std::vector<Result> ofKind(const std::vector<Result>& results, Kind kind) {
    std::vector<Result> chosen;
    std::copy_if(results.begin(), results.end(), std::back_inserter(chosen),
                 [kind](const Result& result) { return result.program.kind == kind && !result.runs.empty(); });
    return chosen;
}

bool isSlower(const Result& one, const Result& other) {
    return one.rate().median < other.rate().median;
}

bool isLeaner(const Result& one, const Result& other) {
    return one.cpuPerMessage().median < other.cpuPerMessage().median;
}

}  // namespace

Comparison::Comparison(bool markdown)
    : m_markdown(markdown),
      m_table({{"pair", -11},
               {"program", -14},
               {"msgs/s", 9},
               {"MB/s", 8},
               {"CPU us/msg", 10},
               {"min..max msgs/s", 17},
               {"ratio", 6}},
              markdown) {}

void Comparison::add(const Pair& pair, const std::vector<Result>& results) {
    for (const Result& result : results) print(pair, result, results.front().rate().median);
    if (!results.front().runs.empty()) judge(pair, results);
}

void Comparison::print(const Pair& pair, const Result& result, double zidbenchRate) {
    const std::string& name = result.program.name;
    if (result.runs.empty()) return m_table.printRow({pair.text(), name, "failed"});
    const Statistics rate = result.rate();
    m_table.printRow({pair.text(), name, decimal(rate.median, 0), decimal(rate.median * pair.payload / 1e6, 1),
                      decimal(result.cpuPerMessage().median, 2), range(rate), decimal(zidbenchRate / rate.median, 2)});
    m_spreads.push_back({name + " " + pair.text(), rate.most / rate.least});
}

void Comparison::judge(const Pair& pair, const std::vector<Result>& results) {
    const Result& zidbench = results.front();
    for (const Result& other : ofKind(results, Kind::PlainExchange))
        judgeRate(wantedOfPlainExchange(pair), pair, zidbench, other);
    for (const Result& other : ofKind(results, Kind::PlainRing)) judgeRate(0.9, pair, zidbench, other);

    const std::vector<Result> libraries = ofKind(results, Kind::Library);
    if (libraries.empty()) return;
    for (const Result& overDds : ofKind(results, Kind::ZidbenchDds)) judgeDds(pair, overDds, libraries);
    if (const double wanted = wantedOfLibraries(pair); wanted > 0)
        judgeRate(wanted, pair, zidbench, *std::max_element(libraries.begin(), libraries.end(), isSlower));
    const Result& leanest = *std::min_element(libraries.begin(), libraries.end(), isLeaner);
    m_verdicts.wantAtMost(1.0, pair.text() + " CPU us/msg over that of " + leanest.program.name,
                          zidbench.cpuPerMessage().median / leanest.cpuPerMessage().median);
}

void Comparison::judgeRate(double least, const Pair& pair, const Result& zidbench, const Result& other) {
    const std::string subject = zidbench.program.kind == Kind::ZidbenchDds ? ", DDS: msgs/s" : " msgs/s";
    m_verdicts.wantAtLeast(least, pair.text() + subject + " over that of " + other.program.name,
                           zidbench.rate().median / other.rate().median);
}

// What the engine is asked to do costs no more here than there.
void Comparison::judgeDds(const Pair& pair, const Result& zidbench, const std::vector<Result>& libraries) {
    for (const Result& library : libraries)
        if (library.program.transport == "dds") judgeRate(0.85, pair, zidbench, library);
}

bool Comparison::printVerdicts() const {
    const bool refused = m_verdicts.print(m_markdown);
    if (!m_spreads.empty()) printSpreads();
    return refused;
}

void Comparison::printSpreads() const {
    const auto worst = std::max_element(m_spreads.begin(), m_spreads.end(),
                                        [](const Spread& one, const Spread& other) { return one.ratio < other.ratio; });
    std::printf("\nnoise, the fastest run over the slowest: median x%.2f, worst x%.2f (%s)\n",
                summarise(m_spreads, &Spread::ratio).median, worst->ratio, worst->row.c_str());
}

}  // namespace bench
