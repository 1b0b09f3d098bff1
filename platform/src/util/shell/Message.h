#pragma once

#include "ipl/string.h"

namespace util::shell {

/// Shows text of the shell itself on standard output as one piece, its last line ended. Any thread.
void tell(const ipl::string& text);

}  // namespace util::shell
