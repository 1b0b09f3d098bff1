#pragma once

#include "shell/Builtins.h"
#include "shell/LineSource.h"

namespace util::shell {

/// Reads lines and has them carried out until the user leaves or the input ends.
class Interpreter {
  public:
    /// Both must outlive the object.
    Interpreter(CommandTable& table, CommandRunner& runner, Builtins& builtins)
        : m_table(table), m_runner(runner), m_builtins(builtins) {}

    /// Returns when all commands have ended.
    void run(LineSource& source);

  private:
    void execute(const ipl::string& text, bool interactive);
    void start(const CommandLine& line, bool interactive);
    void attend(const CommandLine& line, const CommandRunner::Ticket& ticket);
    void tellWhatIsAwaited() const;

    CommandTable& m_table;
    CommandRunner& m_runner;
    Builtins& m_builtins;
};

}  // namespace util::shell
