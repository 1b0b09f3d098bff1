#pragma once

#include <unistd.h>

#include <utility>

namespace comm::transport {

/// Owns a file descriptor, or none.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, None)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    explicit operator bool() const { return m_fd >= 0; }
    int get() const { return m_fd; }

    void reset() {
        if (m_fd >= 0) ::close(std::exchange(m_fd, None));
    }

  private:
    static constexpr int None = -1;

    int m_fd = None;
};

}  // namespace comm::transport
