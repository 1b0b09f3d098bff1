#pragma once

#include <string>

namespace bench {

/// A fresh directory that only this user can enter; it is removed with all it holds when the object ends. Programs that
/// are started in it find their configuration there too.
class RuntimeDirectory {
  public:
    /// The name of the processes that are to use the transport between machines, here through loopback.
    static constexpr const char* DdsProcessName = "dds";

    RuntimeDirectory();
    RuntimeDirectory(const RuntimeDirectory&) = delete;
    RuntimeDirectory& operator=(const RuntimeDirectory&) = delete;
    ~RuntimeDirectory();

    /// Empty when the directory could not be made, with the reason in `errno`.
    const std::string& path() const { return m_path; }

  private:
    std::string m_path;
};

}  // namespace bench
