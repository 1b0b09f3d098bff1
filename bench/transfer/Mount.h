#pragma once

#include <string>

#include "Process.h"
#include "RuntimeDirectory.h"
#include "Supervisor.h"

namespace bench {

/// A file system in a fresh directory, served by a program that takes the directory as its argument. It is unmounted
/// and the directory removed when the object ends, whatever has become of the program.
class Mount {
  public:
    explicit Mount(const std::string& program);
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;
    ~Mount();

    /// Starts the program and blocks until it says that it is ready. Returns true on failure, which it has told.
    [[nodiscard]] bool mount(Supervisor& supervisor);
    /// Ends the program. Its status is 0 when it has unmounted as it should.
    Process::Exit unmount();

    const std::string& path() const { return m_directory.path(); }
    Process& server() { return m_server; }

  private:
    std::string m_program;
    RuntimeDirectory m_directory;
    Process m_server;
};

}  // namespace bench
