#pragma once

#include "shell/Command.h"

namespace util::shell {

/// What `help` shows: how a line is written and what commands there are.
ipl::string overview(const CommandList& commands);

/// What `help COMMAND` shows: how it is typed, what it does, and each parameter's range and default.
ipl::string description(const Command& command);

/// What `list_services` shows: the listed services; with `full` also their listed commands, described.
ipl::string serviceList(const CommandList& commands, bool full);

}  // namespace util::shell
