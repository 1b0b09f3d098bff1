#pragma once

#include <atomic>

#include "ipl/GlobalErrorHandler.h"
#include "ipl/string.h"

namespace util {

/// One reference to the initialised library: the first sets it up, the last one's end cleans it up.
///
/// Construct it on the main thread after `osal::Osal`.
class Util {
  public:
    /// Takes a reference and calls `init`.
    Util(const ipl::string& processName, bool threads, bool timers, bool shell, bool logging) {
        s_init_count.fetch_add(1);
        init(processName.c_str(), threads, timers, shell, logging);
    }
    Util(const Util&) = delete;
    Util& operator=(const Util&) = delete;

    ~Util() {
        if (!s_initialized) ipl::GlobalErrorHandler::doAssert("s_initialized", "~Util", "framework/include/util/util");
        if (s_init_count.fetch_sub(1) == 1 && s_initialized) cleanupAll();
    }

    /// Sets the library up; on a library that is set up already it changes nothing. `processName` must not be null. The
    /// flags choose the library's groups on targets where each costs something; here all are always ready.
    static void init(const char* processName, bool threads, bool timers, bool shell, bool logging);

    /// Undoes what `init` has set up. Normally the last reference's end calls it.
    static void cleanupAll();

    /// The name given to `init`; empty before it and after the clean-up. Main thread.
    static const ipl::string& processName();

    static std::atomic<int> s_init_count;
    static std::atomic<bool> s_initialized;
};

}  // namespace util
