#pragma once

#include <memory>

#include "ipl/string.h"
#include "ipl/vector.h"
#include "util/CommandParameter.h"
#include "util/CommandShellService.h"

namespace util {

/// A shell in which services offer commands, read from standard input.
///
/// A line is a command and its parameters, in their order or by name (`startZID 3 --payload 4096`); a parameter that is
/// left out takes its default. A value without a name goes to the first parameter that none before it has set. What
/// does not fit is refused with the reason and delivered to nobody. `&` at the end lets a command run beside the next
/// lines; `#` begins a comment. Built in are list_services, help, sleep, wait and exit.
///
/// From a file or a pipe the lines run in order, each after the one before it has ended. In a terminal there is line
/// editing, history and completion, and a command that still runs after a second moves to the background; what the
/// process prints meanwhile comes above the line being edited.
class CommandShell {
  public:
    CommandShell();
    CommandShell(const CommandShell&) = delete;
    CommandShell& operator=(const CommandShell&) = delete;
    ~CommandShell();

    /// Takes a service, which must live until `startParser` has returned, and sends it the Started event. With
    /// `listed` it appears in list_services. True on failure: the name is taken, with the reason in the error storage.
    bool registerService(CommandShellService* service, const ipl::string& name, const ipl::string& description,
                         bool listed);

    /// Adds a command and gives its id, which is never 0. The parameters, in the order in which they are typed, must
    /// live until the command is unregistered. With `listed` it appears in list_services and in completion. True on
    /// failure: the name is taken, with the reason in the error storage. A service registers its commands from its
    /// Started event.
    bool registerCommand(CommandShellService* service, const ipl::string& name, const ipl::string& description,
                         unsigned short& id, const ipl::vector<CommandParameter*>& parameters, bool listed);

    /// Removes a command. With `waitForEnd` a running call of it has returned first; not to be called from that call.
    /// True on failure: the service has no such command, with the reason in the error storage.
    bool unregisterCommand(CommandShellService* service, unsigned short id, bool waitForEnd);

    /// Shows a service's message, whole, on any thread: on standard output, or on standard error if `asError`. With
    /// `endLine` the line is ended. `indent` is how many blanks stand before it.
    void printMessage(CommandShellService* service, const ipl::string& text, bool asError, bool endLine,
                      unsigned indent);

    /// Reads and runs lines until `exit` or the end of the input, waits until the running commands have ended, and
    /// sends every service, the last one first, the Ended event. Called once. An `exit` while commands run tells which,
    /// and how to end them; a second one ends the process.
    void startParser();

  private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

}  // namespace util
