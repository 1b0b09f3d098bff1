#include "Peer.h"

#include <sys/socket.h>
#include <unistd.h>

#include "osal/common/Error.h"

namespace comm::transport {

bool isForeign(int fd, ipl::string& peer) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
        peer = "an unknown process";
        return true;
    }
    peer = "process " + std::to_string(credentials.pid);
    if (credentials.uid == ::geteuid()) return false;
    peer += " of user " + std::to_string(credentials.uid);
    return true;
}

}  // namespace comm::transport
