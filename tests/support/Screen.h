#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

/// What a terminal shows of the bytes that are written to it: an xterm, as far as line editors use it. A sequence that
/// it doesn't know fails the test.
class Screen {
  public:
    explicit Screen(std::size_t columns) : m_columns(columns) {}

    void write(std::string_view bytes) {
        for (const char byte : bytes) m_escape.empty() ? put(byte) : escape(byte);
    }

    /// Of a new size; what is shown is not moved.
    void resize(std::size_t columns) { m_columns = columns; }

    /// The last rows that are used, without the blanks at their ends and with a | where the cursor is.
    std::vector<std::string> last(std::size_t count) const {
        std::vector<std::string> rows = m_cells;
        rows.resize(std::max(rows.size(), m_row + 1));
        for (std::string& row : rows) row.erase(row.find_last_not_of(' ') + 1);
        std::string& current = rows[m_row];
        if (current.size() < m_column) current.resize(m_column, ' ');
        current.insert(m_column, 1, '|');
        const std::size_t skipped = rows.size() - std::min(count, rows.size());
        rows.erase(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(skipped));
        return rows;
    }

    static std::string joined(const std::vector<std::string>& rows) {
        std::string all;
        for (const std::string& row : rows) all.append(row).append("\n");
        return all;
    }

    std::string text() const { return joined(last(m_cells.size())); }

  private:
    void put(char byte) {
        switch (byte) {
            case '\x1b':
                m_escape = byte;
                break;
            case '\r':
                m_column = 0;
                break;
            case '\n':
                nextRow();
                break;
            case '\b':
                m_column -= std::min<std::size_t>(m_column, 1);
                break;
            case '\a':
                break;
            default:
                draw(byte);
        }
    }

    // After the last column the cursor stays, until the next character begins a row.
    void draw(char byte) {
        if (m_column >= m_columns) {
            m_column = 0;
            nextRow();
        }
        std::string& row = current();
        if (m_inserting) row.insert(m_column, 1, ' ');
        row[m_column++] = byte;
    }

    void nextRow() {
        ++m_row;
        current();
    }

    std::string& current() {
        if (m_cells.size() <= m_row) m_cells.resize(m_row + 1);
        std::string& row = m_cells[m_row];
        if (row.size() <= m_column) row.resize(m_column + 1, ' ');
        return row;
    }

    void escape(char byte) {
        m_escape += byte;
        if (m_escape.size() == 2 ? byte == '[' : byte < '@') return;
        const std::string sequence = m_escape;
        m_escape.clear();
        const std::size_t number = std::strtoul(sequence.c_str() + 2, nullptr, 10);
        const std::size_t count = std::max<std::size_t>(number, 1);
        std::string& row = current();
        m_column = std::min(m_column, m_columns - 1);
        if (byte == 'A')
            m_row -= std::min(m_row, count);
        else if (byte == 'B')
            m_row += count;
        else if (byte == 'C')
            m_column = std::min(m_column + count, m_columns - 1);
        else if (byte == 'D')
            m_column -= std::min(m_column, count);
        else if (byte == 'G')
            m_column = std::min(count, m_columns) - 1;
        else if (byte == 'P')
            row.erase(m_column, count);
        else if (byte == '@')
            row.insert(m_column, count, ' ');
        else if ((byte == 'K' || byte == 'J') && number == 0)
            erase(byte == 'J');
        else if (sequence == "\x1b[4h" || sequence == "\x1b[4l")
            m_inserting = byte == 'h';
        else
            ADD_FAILURE() << "unknown sequence " << sequence.substr(1);
    }

    void erase(bool below) {
        current().erase(m_column);
        if (below) m_cells.resize(m_row + 1);
    }

    std::size_t m_columns;
    std::vector<std::string> m_cells;  // all that was ever shown: what has left the screen cannot be reached any more
    std::size_t m_row = 0;
    std::size_t m_column = 0;
    std::string m_escape;
    bool m_inserting = false;
};
