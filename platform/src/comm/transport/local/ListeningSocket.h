#pragma once

#include <sys/stat.h>

#include <memory>

#include "../common/FileDescriptor.h"
#include "../common/Identity.h"
#include "../common/RuntimeDirectory.h"

namespace comm::transport {

/// The socket at which a registration accepts connections, and its name in the runtime directory. To be used by the
/// holder of the identity's lock.
class ListeningSocket {
  public:
    /// Makes it reachable, in the place of a leftover of the same name. True on failure, with the reason in the error
    /// storage.
    [[nodiscard]] bool open(std::shared_ptr<const RuntimeDirectory> directory, const Identity& identity);

    /// Whether its name in that directory leads to it.
    bool isCurrentIn(const RuntimeDirectory& directory) const { return directory.holds(m_fileName, m_file); }

    /// Removes its name, if that is its own.
    void removeName() const;

    int fd() const { return m_socket.get(); }

  private:
    bool bind(const ipl::string& unfinished);

    std::shared_ptr<const RuntimeDirectory> m_directory;
    ipl::string m_fileName;
    FileDescriptor m_socket;
    struct stat m_file {};  // of its name
};

}  // namespace comm::transport
