#pragma once

#include <mutex>

#include "shell/Command.h"

namespace util::shell {

/// The services and commands of a shell. Any thread may call it. `true` is failure, with the reason in the error
/// storage.
class CommandTable {
  public:
    /// Fails if there is no service or its name is taken.
    bool addService(const Service& service);

    /// Adds a command of a service under a new id. Fails if the name is taken, the service is not in the table or no id
    /// is left: an id is never given twice.
    bool addCommand(Command command, unsigned short& id);

    /// Adds a command of the shell itself; the caller sees to it that the name is free.
    void addBuiltin(const Command& command);

    bool removeCommand(const CommandShellService* service, unsigned short id);

    /// Removes the service and the commands that it still has, whose ids it returns.
    ipl::vector<unsigned short> removeService(const CommandShellService* service);

    /// The service that was added last, or null.
    CommandShellService* lastService() const;

    /// Hands the list to `reader` and returns its result. No command comes or goes meanwhile, so the parameters live;
    /// for the same reason `reader` must not call the table.
    template <class Reader>
    auto read(const Reader& reader) const {
        const std::scoped_lock lock(m_mutex);
        return reader(m_list);
    }

  private:
    ipl::string add(Command command, unsigned short& id);
    bool hasService(const CommandShellService* service) const;

    // Guards the two below. Nothing else is locked while it is held.
    mutable std::mutex m_mutex;
    CommandList m_list;
    unsigned short m_lastId = 0;
};

}  // namespace util::shell
