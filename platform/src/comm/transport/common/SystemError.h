#pragma once

#include <cerrno>

#include "comm/Error.h"
#include "osal/common/Error.h"

namespace comm::transport {

/// Records that an operation on an object failed with `errno`: "bind /run/user/7/x: Permission denied". Gives true.
inline bool failed(const ipl::string& operationAndObject, const char* source, int line) {
    return error::record(Error::Transport, operationAndObject + ": " + osal::systemText(errno), source, line);
}

/// Whether an operation failed because the system or the process is short of something, which may pass.
inline bool isShortage(int error) {
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

}  // namespace comm::transport
