#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>

#include "../common/Warnings.h"
#include "Discovery.h"
#include "Guid.h"
#include "Registration.h"
#include "ipl/vector.h"

namespace comm::transport {

/// The registrations of the whole domain, as far as they have been discovered. Any thread.
class Registrations {
  public:
    /// Begins to discover; `changed` is raised when `update` has something to do. True on failure, with the reason in
    /// the error storage.
    [[nodiscard]] bool open(const Engine& engine, Signal& changed);

    /// Ends that. Nothing is discovered any more.
    void close();

    /// Takes in what has been discovered. Warns of registrations that should not be.
    void update();

    /// The newest one of an identity.
    std::optional<Registration> find(const ipl::string& key) const;
    bool isAlive(const ipl::string& name) const;

    /// Whether the process of that participant was killed, although its lease has not run out yet: another one has
    /// taken over a registration of it in the same place. A living process withdraws its registration before it
    /// releases the lock that the other one needs for that.
    bool isKilled(const Guid& participant) const;

  private:
    struct Entry {
        std::uint64_t order;  // in which they were discovered
        Guid participant;
        Registration registration;
    };

    struct Warning {
        ipl::string kind;
        ipl::string text;
    };

    void appeared(const Discovery::Endpoint& reader);
    void warnOfStranger(const ipl::string& typeName);
    void supersede(const Entry& successor);
    void warnOfRivals(const Registration& registration);

    Warnings m_warnings;

    // Guards what follows.
    mutable std::mutex m_mutex;
    Discovery m_discovery;
    std::map<Guid, Entry> m_alive;
    std::map<Guid, Guid> m_superseded;  // readers that are still believed to live, and their participants
    std::uint64_t m_discovered = 0;
    ipl::vector<Warning> m_found;
    bool m_strangerFound = false;
};

}  // namespace comm::transport
