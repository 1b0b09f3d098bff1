#pragma once

#include <optional>

#include "../common/Identity.h"
#include "../common/RuntimeDirectory.h"
#include "ipl/string.h"

namespace comm::transport {

/// A registration as it shows itself to the domain.
struct Registration {
    /// Of this process: an identity's incarnation that no other registration ever has.
    static Registration ofThisProcess(const Identity& identity, const ipl::string& incarnation,
                                      const RuntimeDirectory& directory);
    /// As it was discovered: its partition, and what its reader says about itself. Nothing if it is none.
    static std::optional<Registration> discovered(ipl::string name, const ipl::string& description);

    /// What identifies it across its incarnations.
    static ipl::string keyOf(const Identity& identity);
    ipl::string key() const { return name.substr(0, name.rfind('/')); }

    /// What its reader says about itself.
    ipl::string description() const { return place + '\n' + display + '\n' + owner; }
    /// The same once it is withdrawn. Its reader may stay for a while.
    ipl::string withdrawnDescription() const { return description() + "\nwithdrawn"; }

    /// Both are where an instance can be registered only once.
    bool sharesPlaceWith(const Registration& other) const { return place == other.place; }

    ipl::string name;     ///< its partition
    ipl::string place;    ///< the machine, and the runtime directory there
    ipl::string display;  ///< for people: interface name and instance
    ipl::string owner;    ///< for people: process and host
    bool isWithdrawn = false;
};

}  // namespace comm::transport
