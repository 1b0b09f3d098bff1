#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

namespace transport {

/// What the system has mounted at a path.
struct Mount {
    std::string type;
    std::string source;

    /// The uppermost file system at this absolute path without links, if any is mounted right there.
    static std::optional<Mount> at(const std::string& path);

    /// The source under which this process mounts at a place (see ServerLock), and the type that goes with it.
    static std::string ownSource(std::uint64_t place);
    static constexpr const char* OwnSubtype = "transportserver";

    bool isTransportServer() const;
    /// Whether a transport server was mounted here when it started, rather than elsewhere and then bound to here.
    bool isFor(std::uint64_t place) const;
    /// The process that has mounted it, whether it lives or not; 0 if it has no number in this process's namespace.
    pid_t server() const;
};

}  // namespace transport
