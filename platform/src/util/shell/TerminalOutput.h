#pragma once

#include <cstdio>
#include <mutex>
#include <string_view>

#include "ipl/string.h"

namespace util::shell {

/// Standard output, and standard error if it is the same terminal, beside a line that is edited on that terminal.
///
/// What any thread prints while such a line is shown comes above it as whole lines, and the line is shown again; at all
/// other times it goes straight to the terminal. Either way it has been written when the print returns, so a process
/// that is killed has lost no line. For this `stdout` and `stderr` become streams of this object. They stay that, since
/// other threads may hold them. The descriptors, and with them what started programs inherit, do not change.
class TerminalOutput {
  public:
    /// The line. It is used by one thread at a time, which need not be the one that edits it.
    class Line {
      public:
        /// What takes the line off the screen and leaves the cursor where the line began.
        virtual ipl::string erasure() const = 0;
        /// Shows the line with its cursor; it begins at the cursor's place, the beginning of a row.
        virtual void draw() = 0;

      protected:
        ~Line() = default;
    };

    /// The process's own, which takes over the streams. Null if that fails. Standard output must be a terminal.
    static TerminalOutput* open();

    TerminalOutput(const TerminalOutput&) = delete;
    TerminalOutput& operator=(const TerminalOutput&) = delete;

    /// The stream to the terminal that the line itself is shown through.
    std::FILE* terminal() const { return m_terminal; }

    /// Keeps what others print waiting; the terminal is the calling thread's, which must not print itself until
    /// `release`. The cursor is at the beginning of a row.
    void acquire();
    /// Lets through what others print.
    void release();

    /// As `release`, but above the line. Null: a line that the terminal shows by itself.
    void releaseAbove(Line* line);
    /// Ends `releaseAbove`.
    void reacquire();

    /// Writes to the terminal. For the thread that has acquired it.
    static void print(std::string_view text);

  private:
    struct Stream {
        TerminalOutput& output;
        ipl::string unfinished;  // the beginning of a line that is not shown before its end comes
    };

    TerminalOutput() = default;

    static std::FILE* makeStream(Stream& stream, int mode);
    static ssize_t write(void* stream, const char* text, std::size_t size);
    void write(Stream& stream, std::string_view text);

    std::FILE* m_terminal = stdout;

    // Guards all below. It is held while the terminal is acquired.
    std::mutex m_mutex;
    Stream m_out{*this, {}};
    Stream m_error{*this, {}};
    Line* m_line = nullptr;  // shown now
    bool m_rowBegun = false;
};

}  // namespace util::shell
