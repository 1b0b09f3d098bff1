#pragma once

#include "ipl/string.h"

namespace comm::transport {

/// Checks who is at the other end of a connected socket. True if it is another user, or nobody knows; `peer` then says
/// who, for a message, and otherwise names the process.
bool isForeign(int fd, ipl::string& peer);

}  // namespace comm::transport
