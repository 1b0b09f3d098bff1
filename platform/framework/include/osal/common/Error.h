#pragma once

#include "ipl/string.h"

namespace osal {

/// The system's text for an error number, such as "Permission denied".
ipl::string systemText(int errorNumber);

/// Records that an operation of the system failed: "what: system's text", with the number as the code.
void recordSystemError(const ipl::string& what, int errorNumber, const char* source, int line);

}  // namespace osal
