#pragma once

#include <sys/types.h>

#include "ipl/string.h"

namespace osal {

/// Starts a program as a process of its own.
///
/// The started process belongs to the system from then on: nobody needs to wait for it, it leaves no zombie behind, and
/// it goes on when this object or this process ends.
class ProcessTNG {
  public:
    static constexpr pid_t INVALID_PROCESS_ID = -1;

    /// Prepares the start of an executable, given by its path.
    explicit ProcessTNG(const ipl::string& executable);

    /// Forgets everything that was set.
    void init();
    void setExecutable(const ipl::string& path);

    /// Starts it without arguments, with this process's environment and standard streams, the null device where one is
    /// missing; it inherits no other descriptor. Gives its process id, or `INVALID_PROCESS_ID` with the reason in the
    /// error storage, also where the system cannot execute the file.
    pid_t start();

  private:
    ipl::string m_executable;
};

}  // namespace osal
