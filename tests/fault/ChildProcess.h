#pragma once

#include <sys/types.h>

#include <deque>
#include <map>
#include <string>
#include <vector>

/// Another process of this program, obeying by lines. It dies with this one.
class ChildProcess {
  public:
    /// Starts it with these arguments. Its standard error goes to a file of that name, which is removed at the end.
    ChildProcess(std::vector<std::string> arguments, std::string errors);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    /// Writes a command. Each is answered by a line.
    void post(const std::string& command);
    /// The commands that are not answered yet, the oldest first.
    const std::deque<std::string>& pending() const { return m_pending; }
    /// The next answer; empty when the process has ended or is silent for too long.
    std::string answer();

    /// Returns when it stands still.
    void stop() const;
    void resume() const;
    void kill();

    static constexpr int Silent = -1000;
    /// The exit status, the negative number of the signal that ended it, or `Silent` if it does not end.
    int waitForEnd();
    /// Whether it has ended though nobody has asked for it.
    bool hasEnded() const;

    /// What it has written to standard error.
    std::string errors() const;
    /// How many warnings of each kind are among it.
    std::map<std::string, std::size_t> warnings() const;

  private:
    void run(std::vector<std::string>& arguments, int input, int output) const;

    const std::string m_errors;
    std::deque<std::string> m_pending;
    pid_t m_process = -1;
    int m_input = -1;
    int m_output = -1;
};
