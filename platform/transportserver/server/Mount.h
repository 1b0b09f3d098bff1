#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace transport {

/// What the system has mounted at a path.
struct Mount {
    std::string type;
    std::string source;

    /// The uppermost file system at this absolute path without links, if any is mounted right there.
    static std::optional<Mount> at(const std::string& path);

    /// The source under which this process mounts, and the type that goes with it.
    static std::string ownSource();
    static constexpr const char* OwnSubtype = "transportserver";

    bool isTransportServer() const;
    /// The transport server that serves it; 0 when that has ended without unmounting.
    pid_t server() const;
};

}  // namespace transport
