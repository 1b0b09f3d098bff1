#pragma once

#include "ipl/string.h"
#include "ipl/vector.h"
#include "util/CommandParameter.h"
#include "util/CommandShellService.h"

namespace util::shell {

/// One entry of the table from which lines are read, help is written and names are completed.
struct Command {
    CommandShellService* service = nullptr;  ///< null for the shell's own commands
    unsigned short id = 0;                   ///< 0 for the shell's own commands
    ipl::string name;
    ipl::string description;
    ipl::vector<CommandParameter*> parameters;  ///< in the order in which they are typed
    bool listed = true;
};

struct Service {
    CommandShellService* service = nullptr;
    ipl::string name;
    ipl::string description;
    bool listed = true;
};

/// Everything that is registered, in the order of registration.
struct CommandList {
    ipl::vector<Service> services;
    ipl::vector<Command> commands;

    /// The command of this name, or null.
    const Command* find(const ipl::string& name) const {
        for (const Command& command : commands)
            if (command.name == name) return &command;
        return nullptr;
    }

    ipl::vector<ipl::string> listedNames() const {
        ipl::vector<ipl::string> names;
        for (const Command& command : commands)
            if (command.listed) names.push_back(command.name);
        return names;
    }
};

}  // namespace util::shell
