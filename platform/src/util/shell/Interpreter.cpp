#include "shell/Interpreter.h"

#include "shell/Message.h"

namespace util::shell {
namespace {

// How long the prompt stays away for a command.
constexpr std::chrono::milliseconds Patience{1000};

}  // namespace

void Interpreter::run(LineSource& source) {
    while (!m_builtins.isLeaving()) {
        if (const std::optional<ipl::string> line = source.readLine()) {
            execute(*line, source.isInteractive());
        } else if (source.isInteractive()) {
            m_builtins.exit();
        } else {
            tellWhatIsAwaited();
            break;
        }
    }
    m_runner.waitUntilIdle();
}

void Interpreter::execute(const ipl::string& text, bool interactive) {
    const CommandLine line = m_table.read([&text](const CommandList& commands) { return CommandLine(text, commands); });
    if (!line.refusal().empty())
        tell(line.refusal());
    else if (line.isEmpty())
        return;
    else if (line.command().service == nullptr)
        m_builtins.run(line);
    else
        start(line, interactive);
}

void Interpreter::start(const CommandLine& line, bool interactive) {
    m_builtins.expectCommand();
    const auto ticket = m_runner.submit({line.command(), line.values(), line.text()});
    if (!ticket)
        tell(line.command().name + " is gone");
    else if (line.inBackground())
        return;
    else if (interactive)
        attend(line, *ticket);
    else
        m_runner.waitUntilEnded(*ticket);
}

void Interpreter::attend(const CommandLine& line, const CommandRunner::Ticket& ticket) {
    const ipl::string& name = line.command().name;
    switch (m_runner.waitFor(ticket, Patience)) {
        case CommandRunner::Progress::Ended:
            break;
        case CommandRunner::Progress::Running:
            tell(name + " runs on in the background");
            break;
        case CommandRunner::Progress::Waiting:
            tell(name + " waits in the background until the " + name + " before it has ended");
            break;
    }
}

void Interpreter::tellWhatIsAwaited() const {
    ipl::string all;
    for (const ipl::string& text : m_runner.pending()) all += "\n  " + text;
    if (!all.empty()) tell("the input has ended, waiting for:" + all);
}

}  // namespace util::shell
