#pragma once

#include "shell/BuiltinParameters.h"
#include "shell/CommandLine.h"
#include "shell/CommandRunner.h"
#include "shell/CommandTable.h"
#include "util/CommandParameterInteger.h"

namespace util::shell {

/// The shell's own commands. They run on the thread that reads the lines.
class Builtins {
  public:
    static constexpr const char* HelpName = "help";

    /// Puts the commands into the table, which with the runner must outlive the object.
    Builtins(CommandTable& table, CommandRunner& runner);

    /// Runs one of them.
    void run(const CommandLine& line);

    /// Leaves the shell if no command runs. Otherwise tells which do, or, if that was told before, ends the process.
    void exit();

    bool isLeaving() const { return m_leaving; }

    /// A command is about to run: if it is the only one, an exit asked for earlier does not count against it.
    void expectCommand();

  private:
    struct Entry {
        const char* name;
        const char* description;
        ipl::vector<CommandParameter*> parameters;
        void (Builtins::*handler)();
    };

    void listServices();
    void help();
    void sleep();
    void wait();

    CommandTable& m_table;
    CommandRunner& m_runner;
    FlagParameter m_full{"full", "with the commands of each"};
    WordParameter m_command{"command", "which command to describe, all if left out"};
    CommandParameterInteger m_time;
    ipl::vector<Entry> m_entries;
    bool m_leaving = false;
    bool m_exitTold = false;
};

}  // namespace util::shell
