#pragma once

#include "ipl/string.h"

namespace comm::transport {

/// What the engine says about itself, which it says for the process as a whole. While its start is under way this is
/// kept, to become the reason of a failure; afterwards it goes where the framework's warnings go.
class EngineLog {
  public:
    /// Begins to keep what the engine says.
    static void begin();
    /// Gives what was kept, and from now on what the engine says becomes a warning.
    static ipl::string endOfStart();

    /// Passes on what the engine says.
    static void warn(const ipl::string& text);
};

}  // namespace comm::transport
