#pragma once

#include <sys/stat.h>
#include <sys/un.h>

#include "FileDescriptor.h"
#include "ipl/string.h"

namespace comm::transport {

/// The user's private directory in which registrations and proxies of this machine meet. Constant once it is open.
class RuntimeDirectory {
  public:
    /// Opens it, and makes it where it is missing: "zidbench" in $XDG_RUNTIME_DIR, or else "zidbench-UID" in $TMPDIR or
    /// /tmp. True on failure, with the reason in the error storage: also when somebody else could have a hand in it.
    bool open();

    const ipl::string& path() const { return m_path; }
    int fd() const { return m_directory.get(); }

    /// The address of a socket in it. A path that is longer than an address holds is led through the open directory.
    sockaddr_un address(const ipl::string& fileName) const;

    /// What tells it from every other directory of this machine.
    ipl::string id() const;

    /// A file's path, for messages.
    ipl::string pathOf(const ipl::string& fileName) const { return m_path + '/' + fileName; }

    void remove(const ipl::string& fileName) const;

  private:
    bool choosePath();
    bool check() const;

    ipl::string m_path;
    FileDescriptor m_directory;
};

}  // namespace comm::transport
