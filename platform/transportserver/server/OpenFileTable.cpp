#include "OpenFileTable.h"

#include <utility>

namespace transport {

std::uint64_t OpenFileTable::add(std::unique_ptr<OpenFile> file) {
    const std::lock_guard lock(m_mutex);
    m_files.emplace(m_next, std::move(file));
    return m_next++;
}

OpenFile& OpenFileTable::find(std::uint64_t number) const {
    const std::lock_guard lock(m_mutex);
    return *m_files.at(number);
}

// To close a file may answer the requests of others, which is done without the mutex.
void OpenFileTable::remove(std::uint64_t number) {
    std::unique_ptr<OpenFile> closing;
    const std::lock_guard lock(m_mutex);
    const auto found = m_files.find(number);
    closing = std::move(found->second);
    m_files.erase(found);
}

}  // namespace transport
