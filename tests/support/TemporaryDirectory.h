#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

/// A fresh directory for one test, removed with all that is in it.
class TemporaryDirectory {
  public:
    TemporaryDirectory() {
        std::string pattern = std::filesystem::temp_directory_path() / "zidbench-test.XXXXXX";
        m_path = ::mkdtemp(pattern.data());
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    const std::string& path() const { return m_path; }

  private:
    std::string m_path;
};
