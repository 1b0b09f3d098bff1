#pragma once

#include <filesystem>
#include <string>

/// An open file as the system gives it, with nothing between. It is closed with the object.
class PlainFile {
  public:
    PlainFile(const std::filesystem::path& path, int flags);
    ~PlainFile();
    PlainFile(const PlainFile&) = delete;
    PlainFile& operator=(const PlainFile&) = delete;

    /// Of the last operation, opening included, as in `errno`; 0 if that was none.
    int error() const { return m_error; }

    /// What a single read gives.
    std::string read(std::size_t atMost);
    /// What there is until the file ends or fails, in reads of this size.
    std::string readToEnd(std::size_t atMost = 65536);
    /// In a single write. True unless all of it is written.
    [[nodiscard]] bool write(const std::string& bytes);

    /// How many bytes a pipe holds.
    std::size_t unread() const;

  private:
    int m_fd;
    int m_error;
};
