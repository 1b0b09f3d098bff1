#include "shell/EditedLine.h"

#include <algorithm>
#include <cwchar>
#include <cwctype>

namespace util::shell {
namespace {

/// Goes over the screen's cells as the editor does.
class Pen {
  public:
    explicit Pen(int columns) : m_columns(columns) {}

    int row() const { return m_row; }

    void put(wchar_t c) {
        if (c == L'\n')
            beginRow();
        else if (c == L'\t')
            do put(1);
            while (m_column % 8 != 0);
        else if (c < 0x100 && std::iswcntrl(static_cast<wint_t>(c)) != 0)
            putEach(2);  // ^X
        else if (std::iswprint(static_cast<wint_t>(c)) != 0)
            put(std::max(::wcwidth(c), 0));
        else
            putEach(c > 0xffff ? 8 : 7);  // \U+XXXX
    }

    void putEach(std::size_t cells) {
        for (; cells > 0; --cells) put(1);
    }

  private:
    void put(int width) {
        if (m_column + width > m_columns) beginRow();
        m_column += width;
        if (m_column >= m_columns) beginRow();
    }

    void beginRow() {
        m_column = 0;
        ++m_row;
    }

    int m_columns;
    int m_column = 0;
    int m_row = 0;
};

}  // namespace

bool EditedLine::isShown() const {
    int enabled = 0;
    return el_get(m_editor, EL_EDITMODE, &enabled) == 0 && enabled != 0;
}

// A terminal that cannot go up or erase keeps the line above the output.
ipl::string EditedLine::erasure() const {
    const ipl::string up = text("up");
    const ipl::string erase = text("cd");
    if (up.empty() || erase.empty()) return "\r\n";
    ipl::string all = "\r";
    for (int row = cursorRow(); row > 0; --row) all += up;
    return all + erase;
}

void EditedLine::draw() {
    el_set(m_editor, EL_REFRESH);
}

int EditedLine::number(const char* capability) const {
    int value = 0;
    return el_get(m_editor, EL_GETTC, capability, &value) == 0 ? value : 0;
}

// Without the pauses that the oldest terminals need behind it.
ipl::string EditedLine::text(const char* capability) const {
    const char* value = nullptr;
    if (el_get(m_editor, EL_GETTC, capability, &value) != 0 || value == nullptr) return {};
    const ipl::string whole = value;
    return whole.substr(0, whole.find("$<"));
}

// How many rows the cursor is below the line's first. A line higher than the screen has lost its first rows.
int EditedLine::cursorRow() const {
    Pen pen(std::max(number("co"), 2));
    pen.putEach(m_promptWidth);
    const LineInfoW* const line = el_wline(m_editor);
    for (const wchar_t* c = line->buffer; c != line->cursor; ++c) pen.put(*c);
    return std::min(pen.row(), std::max(number("li"), 1) - 1);
}

}  // namespace util::shell
