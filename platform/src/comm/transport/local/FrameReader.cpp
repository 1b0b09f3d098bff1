#include "FrameReader.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace comm::transport {

FrameReader::Result FrameReader::read(int fd, Sink& sink) {
    const long count = receive(fd);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return Result::MoreToCome;
    const bool complete = !m_inFrame && staged() == 0;
    if (count == 0 && complete) return Result::Ended;
    if (count <= 0) {
        broken(count == 0 ? "it ended in the middle of a message" : "reading from it failed");
        return Result::Broken;
    }
    return takeFrames(sink);
}

// Fills the frame's body if one has begun, and then the staging area.
long FrameReader::receive(int fd) {
    // What is left is less than a header, or less than a greeting.
    std::memmove(m_staging.data(), m_staging.data() + m_begin, staged());
    m_end = staged();
    m_begin = 0;

    std::uint8_t* const body = missing() != 0 ? m_body + m_filled : nullptr;
    iovec parts[2] = {{body, missing()}, {m_staging.data() + m_end, lookAhead() - m_end}};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    const long count = ::recvmsg(fd, &message, MSG_DONTWAIT);
    if (count > 0) {
        const auto toBody = static_cast<std::uint32_t>(std::min<long>(count, missing()));
        m_filled += toBody;
        m_end += static_cast<std::size_t>(count) - toBody;
    }
    return count;
}

// How many bytes to stage at most. A long frame is likely followed by another, whose body is to go straight to its
// array, so nothing but its header is taken in advance.
std::size_t FrameReader::lookAhead() const {
    return m_header.length >= LongFrame ? sizeof(FrameHeader) : m_staging.size();
}

FrameReader::Result FrameReader::takeFrames(Sink& sink) {
    for (;;) {
        if (!m_inFrame) {
            if (staged() < sizeof(FrameHeader)) return Result::MoreToCome;
            if (takeHeader()) return Result::Broken;
        }
        const auto count = static_cast<std::uint32_t>(std::min<std::size_t>(staged(), missing()));
        if (count != 0) std::memcpy(m_body + m_filled, m_staging.data() + m_begin, count);
        m_begin += count;
        m_filled += count;
        if (missing() != 0) return Result::MoreToCome;
        m_inFrame = false;
        if (deliver(sink)) return Result::Stopped;
    }
}

// Begins a frame; true if it makes no sense.
bool FrameReader::takeHeader() {
    std::memcpy(&m_header, m_staging.data() + m_begin, sizeof m_header);
    m_begin += sizeof m_header;
    m_filled = 0;
    m_inFrame = true;
    switch (m_header.kind) {
        case FrameHeader::Greeting:
            m_body = reinterpret_cast<std::uint8_t*>(&m_greeting);
            return m_header.length != sizeof m_greeting && broken("its greeting has a wrong length");
        case FrameHeader::Call:
            return m_header.length != 0 && broken("a call without an array has bytes");
        case FrameHeader::CallWithArray:
            return prepareArray(m_header.length);
        default:
            return broken("it sent something that is no message");
    }
}

bool FrameReader::prepareArray(std::uint32_t length) {
    if (length > MaxArray) return broken("a message claims an impossible length");
    if (!m_array.unique() || m_array->capacity < length) m_array = util::CITypesFactory::createUInt8Array(length);
    if (!m_array) return broken("there is no memory for its message");
    m_array->size = length;
    m_body = m_array->data;
    return false;
}

bool FrameReader::deliver(Sink& sink) {
    switch (m_header.kind) {
        case FrameHeader::Greeting:
            return sink.greeted(m_greeting);
        case FrameHeader::Call:
            return sink.received({util::UInt8ArrayPtr(), m_header.handleSize});
        default:
            return sink.received({m_array, m_header.handleSize});
    }
}

// Gives true, so that a check can end with it.
bool FrameReader::broken(const char* fault) {
    m_fault = fault;
    return true;
}

}  // namespace comm::transport
