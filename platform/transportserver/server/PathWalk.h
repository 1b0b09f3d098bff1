#pragma once

#include <deque>
#include <filesystem>
#include <system_error>

namespace transport {

/// Finds the absolute path without links that a path stands for, step by step.
///
/// What a transport server has mounted is not touched, since that server may not answer; nothing in it is found.
class PathWalk {
  public:
    /// Use an object once. What does not exist is taken as it stands.
    std::filesystem::path run(const std::filesystem::path& path, std::error_code& error);

  private:
    static constexpr int MostLinks = 40;

    void prepend(const std::filesystem::path& path);
    void enter(const std::filesystem::path& name, std::error_code& error);
    void follow(const std::filesystem::path& link, std::error_code& error);

    std::filesystem::path m_reached;
    std::deque<std::filesystem::path> m_rest;
    int m_links = 0;
};

}  // namespace transport
