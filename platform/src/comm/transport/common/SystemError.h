#pragma once

#include <cerrno>

#include "comm/Error.h"
#include "osal/common/Error.h"

namespace comm::transport {

/// Records that an operation on an object failed with `errno`: "bind /run/user/7/x: Permission denied". Gives true.
inline bool failed(const ipl::string& operationAndObject, const char* source, int line) {
    return error::record(Error::Transport, operationAndObject + ": " + osal::systemText(errno), source, line);
}

}  // namespace comm::transport
