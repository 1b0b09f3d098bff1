#include "FrameReader.h"

#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace bench {
namespace {

constexpr std::size_t Staging = std::size_t{64} * 1024;
constexpr std::size_t Header = sizeof(std::uint32_t);

}  // namespace

FrameReader::FrameReader(int socket, std::size_t largest) : m_socket(socket), m_room(largest), m_staging(Staging) {}

FrameReader::Result FrameReader::next() {
    std::uint32_t length = 0;
    const std::size_t missing = read(reinterpret_cast<std::uint8_t*>(&length), Header);
    if (missing > 0) return missing == Header && errno == 0 ? Result::End : Result::Failed;
    if (length > m_room.size()) return Result::Failed;
    m_length = length;
    return read(m_room.data(), length) > 0 ? Result::Failed : Result::Frame;
}

// Returns how many bytes are missing because the connection ended; `errno` is 0 when the peer closed it.
std::size_t FrameReader::read(std::uint8_t* target, std::size_t wanted) {
    if (wanted == 0) return 0;
    const std::size_t staged = std::min(wanted, m_to - m_from);
    std::memcpy(target, m_staging.data() + m_from, staged);
    m_from += staged;
    return staged == wanted ? 0 : receive(target + staged, wanted - staged);
}

// As `read`, with nothing staged; what comes beyond the bytes wanted is staged.
std::size_t FrameReader::receive(std::uint8_t* target, std::size_t wanted) {
    while (wanted > 0) {
        const iovec parts[] = {{target, wanted}, {m_staging.data(), lookAhead()}};
        const ssize_t count = ::readv(m_socket, parts, 2);
        if (count < 0 && errno == EINTR) continue;
        if (count == 0) errno = 0;
        if (count <= 0) return wanted;
        const std::size_t used = std::min(static_cast<std::size_t>(count), wanted);
        target += used;
        wanted -= used;
        m_from = 0;
        m_to = static_cast<std::size_t>(count) - used;
    }
    return 0;
}

// After a large payload just the next header: what is staged is copied twice.
std::size_t FrameReader::lookAhead() const {
    return m_length < Staging ? Staging : Header;
}

}  // namespace bench
