#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "OpenFile.h"

namespace transport {

/// The open files, by the numbers that the kernel calls them. Safe for several threads at once.
class OpenFileTable {
  public:
    std::uint64_t add(std::unique_ptr<OpenFile> file);
    /// The file of a number that add() has given and that was not removed, which the kernel sees to.
    OpenFile& find(std::uint64_t number) const;
    /// Closes the file.
    void remove(std::uint64_t number);

  private:
    mutable std::mutex m_mutex;  // guards all below
    std::uint64_t m_next = 1;
    std::unordered_map<std::uint64_t, std::unique_ptr<OpenFile>> m_files;
};

}  // namespace transport
