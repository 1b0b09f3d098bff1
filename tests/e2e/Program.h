#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "Transcript.h"

/// A running program, zidbench unless another is named, with its standard streams in the hands of the test. It is
/// killed with the object, or with the test's process.
///
/// What is waited for in vain fails the test, with all that the program has written; the waits after that return at
/// once. So does a sanitizer's report. For the main thread only.
class Program {
  public:
    enum class Output {
        Piped,
        Closed,   ///< standard output is closed, as by >&- in a shell
        Terminal  ///< standard input and output are a terminal
    };
    using Milliseconds = std::chrono::milliseconds;

    /// How long anything may take on a busy machine with sanitizers.
    static constexpr Milliseconds Watchdog{30000};

    explicit Program(const std::vector<std::string>& arguments, Output output = Output::Piped,
                     const std::string& path = ZIDBENCH_PROGRAM);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t id() const { return m_id; }
    const Transcript& output() const { return m_out; }
    const Transcript& errors() const { return m_err; }

    void type(const std::string& text);
    void write(const std::string& line) { type(line + '\n'); }
    void closeInput();
    /// Leaves the program's standard output without a reader.
    void closeOutput();

    /// Gives it this time at least.
    void letRun(Milliseconds time);
    /// Stops it as SIGSTOP does, and returns when it stands still.
    void pause();
    void resume() const;
    void kill();

    /// Each line is found once only; the line, or an empty one on failure.
    std::string waitForLine(const std::string& pattern, Milliseconds atMost = Watchdog);
    std::string waitForError(const std::string& pattern);
    /// The line, the one before it, and those behind it up to this count; none on failure.
    std::vector<std::string> waitForBlock(const std::string& pattern, std::size_t count,
                                          Milliseconds atMost = Watchdog);
    /// Waits until a text is shown, behind the one that was waited for before.
    void waitForText(const std::string& text);
    /// Like waitForLine(), but it is no failure if the line does not come.
    bool sees(const std::string& pattern, Milliseconds atMost);

    /// The exit status, or the negative number of the signal that ended the program.
    int waitForExit(Milliseconds atMost = Watchdog);

  private:
    void start(std::vector<std::string> words, Output output);
    bool waitUntil(const std::function<bool()>& fulfilled, Milliseconds atMost);
    bool hasEnded();
    void readFor(int milliseconds);
    void fail(const std::string& text);
    void checkForReports();

    std::string m_commandLine;
    pid_t m_id = -1;
    int m_stdin = -1;
    int m_stdout = -1;
    int m_stderr = -1;
    int m_status = 0;
    bool m_ended = false;
    bool m_failed = false;
    Transcript m_out;
    Transcript m_err;
};
