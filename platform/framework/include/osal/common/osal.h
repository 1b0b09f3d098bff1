#pragma once

#include <atomic>

#include "ipl/GlobalErrorHandler.h"

namespace osal {

/// One reference to the initialised library: the first sets it up, the last one's end cleans it up.
///
/// Construct it before any other object of this library, on the main thread. While it is initialised, every allocation
/// by `new` that fails ends the process through `ipl::GlobalErrorHandler::doOutOfMem`; `new (std::nothrow)` gives null.
class Osal {
  public:
    /// `prepareStreams`: standard input, output and error are opened on the null device where the process was started
    /// without them, so that no other file takes their numbers, and standard output is line-buffered, so that a
    /// process that is killed has lost no line. `lockMemory`: the process's memory is kept from being swapped out;
    /// it takes the right to do so. The first holder's wishes count. A failure is recorded in the error storage.
    Osal(bool prepareStreams, bool lockMemory);
    Osal(const Osal&) = delete;
    Osal& operator=(const Osal&) = delete;

    ~Osal() {
        if (!s_initialized)
            ipl::GlobalErrorHandler::doAssert("s_initialized", "~Osal", "framework/include/osal/common/osal");
        if (s_init_count.fetch_sub(1) == 1 && s_initialized) cleanupAll();
    }

    /// Undoes what the first reference has set up. Normally the last reference's end calls it.
    static void cleanupAll();

    /// Ends the process at once with this status, its output written out. For a thread that finds that the process
    /// cannot go on while others are still at work: no destructor runs under their feet, only what was registered with
    /// `std::at_quick_exit`.
    [[noreturn]] static void endProcess(int status);

    static std::atomic<int> s_init_count;
    static std::atomic<bool> s_initialized;
};

}  // namespace osal
