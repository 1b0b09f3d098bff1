#pragma once

#include <cstdint>
#include <filesystem>

namespace transport {

/// Marks a mount point as a server's for as long as the object lives, or its process.
///
/// It is a record lock on the folder of the mount point, at a place in it that follows from the mount point's name. So
/// all processes that see the folder agree about it, whatever their users and namespaces, nothing is left behind that
/// could be removed too early or too late, and nobody needs the mounted file system, which may not answer.
class ServerLock {
  public:
    enum class Result { Taken, HeldByAnother, Failed };

    ServerLock() = default;
    ServerLock(const ServerLock&) = delete;
    ServerLock& operator=(const ServerLock&) = delete;
    ~ServerLock() { release(); }

    /// Takes the lock of an absolute path without links; call it once. A process that is just ending is waited for, for
    /// some tenths of a second. `errno` has the reason of a failure.
    [[nodiscard]] Result take(const std::filesystem::path& mountPoint);

    /// Names the mount point among all of the machine. Only when the lock is taken.
    std::uint64_t place() const { return m_place; }

  private:
    Result tryOnce() const;
    void release();

    int m_folder = -1;
    std::uint64_t m_place = 0;
};

}  // namespace transport
