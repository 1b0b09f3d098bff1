#pragma once

#include <array>

#include "shell/LineSource.h"

namespace util::shell {

/// Lines from a pipe or a file: no prompt, no echo.
class PlainLineSource final : public LineSource {
  public:
    /// Reads the descriptor and leaves it open.
    explicit PlainLineSource(int fd) : m_fd(fd) {}

    /// A last line needs no newline. An input that cannot be read has ended.
    std::optional<ipl::string> readLine() override;
    bool isInteractive() const override { return false; }

  private:
    bool fill();

    int m_fd;
    std::array<char, 4096> m_buffer{};
    std::size_t m_next = 0;  // of the buffer's characters the first that no line has taken
    std::size_t m_end = 0;   // behind the last
};

}  // namespace util::shell
