#include "shell/Builtins.h"

#include "osal/common/Time.h"
#include "osal/common/osal.h"
#include "shell/HelpText.h"
#include "shell/Message.h"

namespace util::shell {

Builtins::Builtins(CommandTable& table, CommandRunner& runner) : m_table(table), m_runner(runner) {
    m_time.setProperties("ms", "how long, in milliseconds", 0, 3'600'000, 1000, CommandParameterInteger::Decimal);
    m_entries = {
        {"list_services", "list the services that offer commands", {&m_full}, &Builtins::listServices},
        {HelpName, "show how commands are used", {&m_command}, &Builtins::help},
        {"sleep", "wait before the next line is read", {&m_time}, &Builtins::sleep},
        {"wait", "wait until all commands that run have ended", {}, &Builtins::wait},
        {"exit", "leave the shell", {}, &Builtins::exit},
    };
    for (const Entry& entry : m_entries)
        table.addBuiltin({nullptr, 0, entry.name, entry.description, entry.parameters, true});
}

void Builtins::run(const CommandLine& line) {
    const Command& command = line.command();
    for (std::size_t i = 0; i < command.parameters.size(); ++i) command.parameters[i]->assign(line.values()[i]);
    for (const Entry& entry : m_entries)
        if (command.name == entry.name) (this->*entry.handler)();
}

void Builtins::exit() {
    const ipl::vector<ipl::string> pending = m_runner.pending();
    m_leaving = pending.empty();
    if (m_leaving) return;
    if (m_exitTold) osal::Osal::endProcess(0);
    m_exitTold = true;
    ipl::string all;
    for (const ipl::string& text : pending) all += "\n  " + text;
    tell("still running:" + all +
         "\nEnd them with the command that stops them, or exit again to end the process at once.");
}

void Builtins::expectCommand() {
    if (m_runner.pending().empty()) m_exitTold = false;
}

void Builtins::listServices() {
    tell(m_table.read([this](const CommandList& commands) { return serviceList(commands, m_full.isGiven()); }));
}

void Builtins::help() {
    const ipl::string& name = m_command.word();
    tell(m_table.read([&name](const CommandList& commands) {
        if (name.empty()) return overview(commands);
        if (const Command* command = commands.find(name)) return description(*command);
        return unknownCommand(name, commands);
    }));
}

void Builtins::sleep() {
    osal::Time::sleep(m_time);
}

void Builtins::wait() {
    m_runner.waitUntilIdle();
}

}  // namespace util::shell
