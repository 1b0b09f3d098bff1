#pragma once

#include <string>
#include <vector>

#include "Pair.h"
#include "Program.h"
#include "Runner.h"
#include "Statistics.h"
#include "Table.h"
#include "Verdicts.h"

namespace bench {

/// The runs of one program for one pair that have not failed.
struct Result {
    Program program;
    std::vector<Measurement> runs;

    Statistics rate() const { return summarise(runs, &Measurement::rate); }
    Statistics cpuPerMessage() const { return summarise(runs, &Measurement::cpuPerMessage); }
};

/// Prints on standard output how the programs compare.
class Comparison {
  public:
    explicit Comparison(bool markdown);

    void printHeader() const { m_table.printHeader(); }
    /// Prints the rows of a pair and judges them; the first result is zidbench's.
    void add(const Pair& pair, const std::vector<Result>& results);
    /// Prints the verdicts on all pairs and how far the runs lie apart. Returns true when a verdict is NO.
    [[nodiscard]] bool printVerdicts() const;

  private:
    struct Spread {
        std::string row;
        double ratio;  ///< the fastest run over the slowest
    };

    void print(const Pair& pair, const Result& result, double zidbenchRate);
    void judge(const Pair& pair, const std::vector<Result>& results);
    void judgeDds(const Pair& pair, const Result& zidbench, const std::vector<Result>& libraries);
    void judgeRate(double least, const Pair& pair, const Result& zidbench, const Result& other);
    void printSpreads() const;

    bool m_markdown;
    Table m_table;
    Verdicts m_verdicts;
    std::vector<Spread> m_spreads;
};

}  // namespace bench
