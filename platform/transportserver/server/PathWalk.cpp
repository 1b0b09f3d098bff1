#include "PathWalk.h"

#include "Mount.h"

namespace transport {

std::filesystem::path PathWalk::run(const std::filesystem::path& path, std::error_code& error) {
    prepend(std::filesystem::absolute(path, error));
    while (!m_rest.empty() && !error) {
        const std::filesystem::path part = std::move(m_rest.front());
        m_rest.pop_front();
        if (part.is_absolute())
            m_reached = part;
        else if (part == "..")
            m_reached = m_reached.parent_path();
        else if (!part.empty() && part != ".")
            enter(part, error);
    }
    return m_reached;
}

void PathWalk::prepend(const std::filesystem::path& path) {
    m_rest.insert(m_rest.begin(), path.begin(), path.end());
}

void PathWalk::enter(const std::filesystem::path& name, std::error_code& error) {
    const auto folder = Mount::at(m_reached);
    if (folder && folder->isTransportServer()) {
        error = std::make_error_code(std::errc::device_or_resource_busy);
        return;
    }
    const std::filesystem::path path = m_reached / name;
    const auto mount = Mount::at(path);
    if (!mount || !mount->isTransportServer()) {
        const auto type = std::filesystem::symlink_status(path, error).type();
        if (type == std::filesystem::file_type::symlink) return follow(path, error);
        if (type == std::filesystem::file_type::not_found) error.clear();
    }
    m_reached = path;
}

void PathWalk::follow(const std::filesystem::path& link, std::error_code& error) {
    if (++m_links > MostLinks)
        error = std::make_error_code(std::errc::too_many_symbolic_link_levels);
    else
        prepend(std::filesystem::read_symlink(link, error));
}

}  // namespace transport
