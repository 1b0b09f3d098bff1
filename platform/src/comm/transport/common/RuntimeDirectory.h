#pragma once

#include <sys/stat.h>
#include <sys/un.h>

#include "FileDescriptor.h"
#include "ipl/string.h"

namespace comm::transport {

/// The user's private directory in which registrations and proxies of this machine meet, as it is found at one time.
/// Constant once it is open. All that happens in it goes through its descriptor, so no other directory that takes its
/// path meanwhile is mistaken for it.
class RuntimeDirectory {
  public:
    /// An empty file in it that nobody uses. Whoever cleans the directory up removes it first, and that is noticed,
    /// unlike the removal of a directory that is in use.
    static constexpr const char* Sentinel = ".in-use";

    /// Opens it, and makes it where it is missing: "zidbench" in $XDG_RUNTIME_DIR, or else "zidbench-UID" in $TMPDIR or
    /// /tmp. True on failure, with the reason in the error storage: also when somebody else could have a hand in it.
    [[nodiscard]] bool open();

    const ipl::string& path() const { return m_path; }
    int fd() const { return m_directory.get(); }

    /// Makes the sentinel if it is missing. True on failure, which means that the directory is gone.
    [[nodiscard]] bool placeSentinel() const;
    /// Whether its path still leads to it.
    bool isInPlace() const;

    /// A path to a file in it, through its descriptor.
    ipl::string openPathOf(const ipl::string& fileName) const;
    /// The address of a socket in it.
    sockaddr_un address(const ipl::string& fileName) const;

    /// What tells it from every other directory of this machine.
    ipl::string id() const;

    /// A file's path, for messages.
    ipl::string pathOf(const ipl::string& fileName) const { return m_path + '/' + fileName; }

    /// Whether a name in it stands for that file.
    bool holds(const ipl::string& fileName, const struct stat& file) const;
    void remove(const ipl::string& fileName) const;

  private:
    bool choosePath();
    bool check() const;

    ipl::string m_path;
    FileDescriptor m_directory;
};

}  // namespace comm::transport
