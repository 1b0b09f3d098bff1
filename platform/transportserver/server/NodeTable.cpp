#include "NodeTable.h"

namespace transport {

std::uint64_t NodeTable::add(End end, const std::string& name) {
    const std::lock_guard lock(m_mutex);
    m_nodes.emplace(m_next, Node{end, name});
    return m_next++;
}

NodeTable::Node NodeTable::find(std::uint64_t number) const {
    const std::lock_guard lock(m_mutex);
    return m_nodes.at(number);
}

void NodeTable::remove(std::uint64_t number) {
    const std::lock_guard lock(m_mutex);
    m_nodes.erase(number);
}

}  // namespace transport
