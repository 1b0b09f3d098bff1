#pragma once

#include <filesystem>
#include <string>

#include "ServerLock.h"

namespace transport {

/// The directory that the server is mounted on, which no other server has as long as this object lives. A directory
/// that it has made is removed with it.
class MountPoint {
  public:
    explicit MountPoint(std::string path) : m_path(std::move(path)) {}
    MountPoint(const MountPoint&) = delete;
    MountPoint& operator=(const MountPoint&) = delete;
    ~MountPoint();

    /// Leaves an empty directory there with nothing mounted on it, whatever a server that was killed has left behind.
    /// True when that cannot be had: see reason().
    [[nodiscard]] bool prepare();

    /// The directory, as the system calls it. Only when it is prepared.
    const std::string& directory() const { return m_absolute.native(); }
    /// What names it among all mount points of the machine. Only when it is prepared.
    std::uint64_t place() const { return m_lock.place(); }
    /// The cause of a failure, and its mend.
    const std::string& reason() const { return m_reason; }

  private:
    bool locate();
    bool lock();
    bool refuseTaken();
    bool clear();
    bool unmountStale();
    bool makeDirectory();
    bool fail(const std::string& cause, const std::string& mend);

    std::string m_path;
    std::filesystem::path m_absolute;  // free of links, so that it is what the system calls it
    ServerLock m_lock;
    bool m_isMade = false;
    std::string m_reason;
};

}  // namespace transport
