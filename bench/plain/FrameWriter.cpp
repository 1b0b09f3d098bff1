#include "FrameWriter.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>

namespace bench {
namespace {

void advance(iovec& part, std::size_t& sent) {
    const std::size_t used = std::min(sent, part.iov_len);
    part.iov_base = static_cast<std::uint8_t*>(part.iov_base) + used;
    part.iov_len -= used;
    sent -= used;
}

}  // namespace

FrameWriter::FrameWriter(int socket) : m_socket(socket) {
    // The system cuts the size to its own limit, which is no failure.
    const int bytes = SendBuffer;
    ::setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &bytes, sizeof bytes);
}

bool FrameWriter::send(std::span<const std::uint8_t> payload) const {
    auto length = static_cast<std::uint32_t>(payload.size());
    iovec parts[] = {{&length, sizeof length}, {const_cast<std::uint8_t*>(payload.data()), payload.size()}};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = payload.empty() ? 1 : 2;

    std::size_t left = sizeof length + payload.size();
    while (left > 0) {
        const ssize_t count = ::sendmsg(m_socket, &message, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return true;
        auto sent = static_cast<std::size_t>(count);
        left -= sent;
        for (iovec& part : parts) advance(part, sent);
    }
    return false;
}

}  // namespace bench
