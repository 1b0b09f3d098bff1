#include "ListeningSocket.h"

#include <fcntl.h>
#include <sys/socket.h>

#include "../common/SystemError.h"

namespace comm::transport {

// The socket gets its name only when it listens, so every process that sees the name can connect. Behind the lock the
// name, and the one that it has before, are this registration's alone.
bool ListeningSocket::open(std::shared_ptr<const RuntimeDirectory> directory, const Identity& identity) {
    m_directory = std::move(directory);
    m_fileName = identity.fileName;
    const ipl::string unfinished = m_fileName + ".new";
    const ipl::string path = m_directory->pathOf(m_fileName);
    m_socket = FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!m_socket) return failed("socket for " + path, __FILE__, __LINE__);
    if (bind(unfinished)) return failed("bind " + path, __FILE__, __LINE__);
    if (::listen(m_socket.get(), SOMAXCONN) == 0 &&
        ::renameat(m_directory->fd(), unfinished.c_str(), m_directory->fd(), m_fileName.c_str()) == 0)
        return false;
    failed("listen on " + path, __FILE__, __LINE__);
    m_directory->remove(unfinished);
    return true;
}

bool ListeningSocket::bind(const ipl::string& unfinished) {
    m_directory->remove(unfinished);
    const sockaddr_un address = m_directory->address(unfinished);
    return ::bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
           ::fstatat(m_directory->fd(), unfinished.c_str(), &m_file, AT_SYMLINK_NOFOLLOW) != 0;
}

void ListeningSocket::removeName() const {
    if (isCurrentIn(*m_directory)) m_directory->remove(m_fileName);
}

}  // namespace comm::transport
