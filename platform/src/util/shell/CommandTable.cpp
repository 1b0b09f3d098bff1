#include "shell/CommandTable.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "ipl/ErrorOutput.h"

namespace util::shell {
namespace {

// An empty reason is success.
bool failed(const ipl::string& reason, int line) {
    if (!reason.empty()) ipl::ErrorOutput(__FILE__, line).report("util::Error", 0, reason);
    return !reason.empty();
}

}  // namespace

bool CommandTable::addService(const Service& service) {
    if (service.service == nullptr) return failed("registering the service " + service.name + ": it is null", __LINE__);
    ipl::string reason;
    {
        const std::scoped_lock lock(m_mutex);
        for (const Service& other : m_list.services)
            if (other.name == service.name || other.service == service.service)
                reason = "registering the service " + service.name + ": " + other.name + " is registered already";
        if (reason.empty()) m_list.services.push_back(service);
    }
    return failed(reason, __LINE__);
}

bool CommandTable::addCommand(Command command, unsigned short& id) {
    ipl::string reason;
    {
        const std::scoped_lock lock(m_mutex);
        reason = add(std::move(command), id);
    }
    return failed(reason, __LINE__);
}

void CommandTable::addBuiltin(const Command& command) {
    const std::scoped_lock lock(m_mutex);
    m_list.commands.push_back(command);
}

ipl::string CommandTable::add(Command command, unsigned short& id) {
    const ipl::string what = "registering the command " + command.name + ": ";
    if (m_list.find(command.name) != nullptr) return what + "the name is taken";
    if (!hasService(command.service)) return what + "its service is not registered";
    if (m_lastId == std::numeric_limits<unsigned short>::max()) return what + "no command id is left";
    id = command.id = ++m_lastId;
    m_list.commands.push_back(std::move(command));
    return {};
}

bool CommandTable::removeCommand(const CommandShellService* service, unsigned short id) {
    std::size_t removed = 0;
    if (service != nullptr) {  // null marks the shell's own
        const std::scoped_lock lock(m_mutex);
        removed = std::erase_if(m_list.commands, [service, id](const Command& command) {
            return command.service == service && command.id == id;
        });
    }
    return failed(removed != 0 ? "" : "unregistering command " + std::to_string(id) + ": the service has no such one",
                  __LINE__);
}

ipl::vector<unsigned short> CommandTable::removeService(const CommandShellService* service) {
    const std::scoped_lock lock(m_mutex);
    ipl::vector<unsigned short> ids;
    for (const Command& command : m_list.commands)
        if (command.service == service) ids.push_back(command.id);
    std::erase_if(m_list.commands, [service](const Command& command) { return command.service == service; });
    std::erase_if(m_list.services, [service](const Service& entry) { return entry.service == service; });
    return ids;
}

CommandShellService* CommandTable::lastService() const {
    const std::scoped_lock lock(m_mutex);
    return m_list.services.empty() ? nullptr : m_list.services.back().service;
}

bool CommandTable::hasService(const CommandShellService* service) const {
    return std::any_of(m_list.services.begin(), m_list.services.end(),
                       [service](const Service& entry) { return entry.service == service; });
}

}  // namespace util::shell
