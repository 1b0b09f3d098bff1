#include "PlainFile.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

PlainFile::PlainFile(const std::filesystem::path& path, int flags)
    : m_fd(::open(path.c_str(), flags | O_CLOEXEC, 0600)), m_error(m_fd < 0 ? errno : 0) {}

PlainFile::~PlainFile() {
    if (m_fd >= 0) ::close(m_fd);
}

std::string PlainFile::read(std::size_t atMost) {
    std::string bytes(atMost, '\0');
    const ssize_t count = ::read(m_fd, bytes.data(), atMost);
    m_error = count < 0 ? errno : 0;
    bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return bytes;
}

std::string PlainFile::readToEnd(std::size_t atMost) {
    std::string bytes;
    for (std::string piece = read(atMost); !piece.empty(); piece = read(atMost)) bytes += piece;
    return bytes;
}

bool PlainFile::write(const std::string& bytes) {
    const ssize_t count = ::write(m_fd, bytes.data(), bytes.size());
    m_error = count < 0 ? errno : 0;
    return count != static_cast<ssize_t>(bytes.size());
}

std::size_t PlainFile::unread() const {
    int count = 0;
    return ::ioctl(m_fd, FIONREAD, &count) == 0 ? static_cast<std::size_t>(count) : 0;
}
