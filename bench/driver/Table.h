#pragma once

#include <string>
#include <vector>

#include "Statistics.h"

namespace bench {

/// A table on standard output, for the eye or in Markdown.
class Table {
  public:
    struct Column {
        const char* title;
        int width;  ///< in characters; negative for text, which begins at the left
    };

    Table(std::vector<Column> columns, bool markdown) : m_columns(std::move(columns)), m_markdown(markdown) {}

    void printHeader() const;
    /// One cell for each column, from the first on; those left out stay empty. It is seen at once.
    void printRow(std::vector<std::string> cells) const;

  private:
    std::vector<Column> m_columns;
    bool m_markdown;
};

/// The number with that many decimals.
std::string decimal(double number, int decimals);
/// The least and the most, as "1..2".
std::string range(const Statistics& statistics);

}  // namespace bench
