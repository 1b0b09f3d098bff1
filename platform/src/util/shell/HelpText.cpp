#include "shell/HelpText.h"

#include <algorithm>

namespace util::shell {
namespace {

constexpr const char* LineSyntax =
    "COMMAND [VALUE ...] [--NAME VALUE ...] [&]\n"
    "  Values stand in the order of the parameters or follow their names; what is left out takes its default.\n"
    "  & lets the command run beside the next lines, # begins a comment.";

ipl::string padded(const ipl::string& text, std::size_t width) {
    return text + ipl::string(width - std::min(width, text.size()), ' ');
}

ipl::string usage(const Command& command) {
    ipl::string text = command.name;
    for (const CommandParameter* parameter : command.parameters)
        text += (parameter->impliedText().empty() ? " [" : " [--") + parameter->name() + "]";
    return text;
}

// Each line begins with a newline and the indentation.
ipl::string details(const Command& command, const ipl::string& indentation) {
    std::size_t width = 0;
    for (const CommandParameter* parameter : command.parameters) width = std::max(width, parameter->name().size());
    ipl::string text = "\n" + indentation + command.description;
    for (const CommandParameter* parameter : command.parameters)
        text += "\n" + indentation + "--" + padded(parameter->name(), width) + "  " + parameter->description() + " (" +
                parameter->range() + ")";
    return text;
}

}  // namespace

ipl::string overview(const CommandList& commands) {
    ipl::string text = LineSyntax;
    for (const Command& command : commands.commands)
        if (command.listed) text += ipl::string("\n") + usage(command) + "\n    " + command.description;
    return text;
}

ipl::string description(const Command& command) {
    return usage(command) + details(command, "    ");
}

ipl::string serviceList(const CommandList& commands, bool full) {
    ipl::string text;
    for (const Service& service : commands.services) {
        if (!service.listed) continue;
        text += (text.empty() ? "" : "\n") + service.name + ": " + service.description;
        if (!full) continue;
        for (const Command& command : commands.commands)
            if (command.service == service.service && command.listed)
                text += ipl::string("\n  ") + usage(command) + details(command, "      ");
    }
    return text.empty() ? "there is no service" : text;
}

}  // namespace util::shell
