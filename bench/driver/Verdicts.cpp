#include "Verdicts.h"

#include <algorithm>
#include <cstdio>

#include "Table.h"

namespace bench {

void Verdicts::wantAtLeast(double least, const std::string& what, double figure) {
    m_verdicts.push_back({what, figure, ">= " + decimal(least, 2), figure >= least});
}

void Verdicts::wantAtMost(double most, const std::string& what, double figure) {
    m_verdicts.push_back({what, figure, "<= " + decimal(most, 2), figure <= most});
}

bool Verdicts::print(bool markdown) const {
    if (m_verdicts.empty()) return false;
    std::puts("");
    const Table table({{"verdict", -45}, {"figure", 8}, {"wanted", -9}, {"", -3}}, markdown);
    table.printHeader();
    for (const Verdict& verdict : m_verdicts)
        table.printRow({verdict.what, decimal(verdict.figure, 3), verdict.wanted, verdict.holds ? "yes" : "NO"});
    return !std::all_of(m_verdicts.begin(), m_verdicts.end(), [](const Verdict& verdict) { return verdict.holds; });
}

}  // namespace bench
