#pragma once

#include <cstdint>

#include "ipl/string.h"
#include "ipl/vector.h"

namespace comm {

/// How a process's agent reaches others. Where nothing is configured, it is the transport within this machine.
struct AgentConfiguration {
    enum class Transport { Local, Dds };

    static constexpr std::int64_t MaxDomain = 230;    ///< beyond it the network has no ports
    static constexpr std::int64_t MinLease = 200;     ///< milliseconds
    static constexpr std::int64_t MaxLease = 600000;  ///< milliseconds

    Transport transport = Transport::Local;

    // What the transport between machines goes by.
    std::uint32_t domain = 0;        ///< processes of different domains do not see each other
    ipl::string interface;           ///< a network interface's name or address; empty: the engine chooses
    ipl::vector<ipl::string> peers;  ///< hosts to look for; empty: whoever answers on the network
    std::uint32_t leaseMs = 3000;    ///< how long others believe this process to be alive without a word from it

    ipl::string file;  ///< where it was read from; empty: nowhere

    /// Reads the configuration of the processes of that name, if it is one: comm/NAME.toml in $XDG_CONFIG_HOME, or else
    /// in ~/.config, and otherwise in /etc. A file that is missing in all of them leaves everything as it is. True on
    /// failure, with the reason in the error storage: which file, which line, and what is allowed there.
    [[nodiscard]] bool read(const ipl::string& processName);
};

}  // namespace comm
