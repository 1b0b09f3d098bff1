#include "shell/PlainLineSource.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "shell/CommandLine.h"

namespace util::shell {

std::optional<ipl::string> PlainLineSource::readLine() {
    ipl::string line;
    bool begun = false;
    while (m_next < m_end || fill()) {
        begun = true;
        const char c = m_buffer[m_next++];
        if (c == '\n') return line;
        if (line.size() <= CommandLine::MaxLength) line += c;  // one more than allowed, and it is refused
    }
    return begun ? std::optional(line) : std::nullopt;
}

// Whether there is more.
bool PlainLineSource::fill() {
    ssize_t count = ::read(m_fd, m_buffer.data(), m_buffer.size());
    while (count < 0 && (errno == EINTR || errno == EAGAIN)) {
        pollfd readable{m_fd, POLLIN, 0};  // whoever shares the input may have made it non-blocking
        (void)::poll(&readable, 1, -1);
        count = ::read(m_fd, m_buffer.data(), m_buffer.size());
    }
    m_next = 0;
    m_end = count > 0 ? static_cast<std::size_t>(count) : 0;
    return m_end > 0;
}

}  // namespace util::shell
