#include "util/CommandShell.h"

#include <unistd.h>

#include "ipl/iostream.h"
#include "shell/Completion.h"
#include "shell/Interpreter.h"
#include "shell/PlainLineSource.h"
#include "shell/TerminalLineSource.h"

namespace util {

/// What the shell consists of.
class CommandShell::Implementation {
  public:
    shell::CommandTable table;
    shell::CommandRunner runner;
    shell::Builtins builtins{table, runner};

    std::unique_ptr<shell::LineSource> openInput() const {
        auto terminal = shell::TerminalLineSource::open([this](const ipl::string& text) {
            return table.read([&text](const shell::CommandList& list) { return shell::completions(text, list); });
        });
        if (terminal) return terminal;
        return std::make_unique<shell::PlainLineSource>(STDIN_FILENO);
    }
};

CommandShell::CommandShell() : m_implementation(std::make_unique<Implementation>()) {}

CommandShell::~CommandShell() = default;

bool CommandShell::registerService(CommandShellService* service, const ipl::string& name,
                                   const ipl::string& description, bool listed) {
    if (m_implementation->table.addService({service, name, description, listed})) return true;
    service->m_shell = this;
    service->onShellEvent(CommandShellService::Started, 0);
    return false;
}

bool CommandShell::registerCommand(CommandShellService* service, const ipl::string& name,
                                   const ipl::string& description, unsigned short& id,
                                   const ipl::vector<CommandParameter*>& parameters, bool listed) {
    return m_implementation->table.addCommand({service, 0, name, description, parameters, listed}, id);
}

bool CommandShell::unregisterCommand(CommandShellService* service, unsigned short id, bool waitForEnd) {
    if (m_implementation->table.removeCommand(service, id)) return true;
    m_implementation->runner.retire(id, waitForEnd);
    return false;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): a service speaks through the shell that has it
void CommandShell::printMessage(CommandShellService* /*service*/, const ipl::string& text, bool asError, bool endLine,
                                unsigned indent) {
    (asError ? ipl::cerr : ipl::cout) << ipl::string(indent, ' ') + text + (endLine ? "\n" : "") << std::flush;
}

void CommandShell::startParser() {
    shell::Interpreter(m_implementation->table, m_implementation->runner, m_implementation->builtins)
        .run(*m_implementation->openInput());
    while (CommandShellService* service = m_implementation->table.lastService()) {
        service->onShellEvent(CommandShellService::Ended, 0);
        for (const unsigned short id : m_implementation->table.removeService(service))
            m_implementation->runner.retire(id, true);
        service->m_shell = nullptr;
    }
}

}  // namespace util
