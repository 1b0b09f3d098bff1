#include "Outbox.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

namespace comm::transport {
namespace {

// Bytes that were taken; -1 when the connection is lost.
long transmit(int fd, std::span<iovec> parts, int flags) {
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    const long count = ::sendmsg(fd, &message, flags | MSG_NOSIGNAL);
    return count < 0 && (errno == EAGAIN || errno == EINTR) ? 0 : count;
}

}  // namespace

void Outbox::clear() {
    m_pieces.clear();
    m_size = 0;
}

bool Outbox::append(const FrameHeader& header, std::span<const std::uint8_t> body, std::size_t skip) {
    const std::size_t total = sizeof header + body.size();
    std::unique_ptr<std::uint8_t[]> bytes(new (std::nothrow) std::uint8_t[total - skip]);
    if (bytes == nullptr) return true;
    const std::size_t fromHeader = sizeof header - std::min(skip, sizeof header);
    const std::size_t fromBody = total - skip - fromHeader;
    std::memcpy(bytes.get(), reinterpret_cast<const std::uint8_t*>(&header) + (sizeof header - fromHeader), fromHeader);
    if (fromBody != 0) std::memcpy(bytes.get() + fromHeader, body.data() + (body.size() - fromBody), fromBody);
    m_pieces.push_back({std::move(bytes), total - skip, 0});
    m_size += total - skip;
    return false;
}

Outbox::Result Outbox::send(int fd, const FrameHeader& header, std::span<const std::uint8_t> body) {
    iovec parts[2] = {{const_cast<FrameHeader*>(&header), sizeof header},
                      {const_cast<std::uint8_t*>(body.data()), body.size()}};
    const long count = transmit(fd, std::span(parts).first(body.empty() ? 1 : 2), 0);
    if (count < 0) return Result::Lost;
    if (static_cast<std::size_t>(count) == sizeof header + body.size()) return Result::Done;
    return append(header, body, static_cast<std::size_t>(count)) ? Result::Lost : Result::Later;
}

Outbox::Result Outbox::flush(int fd) {
    while (!m_pieces.empty()) {
        Piece& piece = m_pieces.front();
        iovec part{piece.bytes.get() + piece.sent, piece.size - piece.sent};
        const long count = transmit(fd, {&part, 1}, MSG_DONTWAIT);
        if (count < 0) return Result::Lost;
        piece.sent += static_cast<std::size_t>(count);
        if (piece.sent != piece.size) return Result::Later;
        m_size -= piece.size;
        m_pieces.pop_front();
    }
    return Result::Done;
}

}  // namespace comm::transport
