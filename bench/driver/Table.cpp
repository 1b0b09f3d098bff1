#include "Table.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

namespace bench {

void Table::printHeader() const {
    std::vector<std::string> titles;
    std::transform(m_columns.begin(), m_columns.end(), std::back_inserter(titles),
                   [](const Column& column) { return column.title; });
    printRow(titles);
    if (!m_markdown) return;
    for (const Column& column : m_columns) std::fputs(column.width < 0 ? "|---" : "|---:", stdout);
    std::fputs("|\n", stdout);
}

void Table::printRow(std::vector<std::string> cells) const {
    cells.resize(m_columns.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (m_markdown)
            std::printf("| %s ", cells[i].c_str());
        else
            std::printf("%s%*s", i == 0 ? "" : "  ", m_columns[i].width, cells[i].c_str());
    }
    std::fputs(m_markdown ? "|\n" : "\n", stdout);
    std::fflush(stdout);
}

std::string decimal(double number, int decimals) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", decimals, number);
    return text.data();
}

std::string range(const Statistics& statistics) {
    return decimal(statistics.least, 0) + ".." + decimal(statistics.most, 0);
}

}  // namespace bench
