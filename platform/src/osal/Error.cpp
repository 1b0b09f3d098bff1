#include "osal/common/Error.h"

#include <system_error>

#include "ipl/ErrorOutput.h"

namespace osal {

ipl::string systemText(int errorNumber) {
    return std::generic_category().message(errorNumber);
}

void recordSystemError(const ipl::string& what, int errorNumber, const char* source, int line) {
    ipl::ErrorOutput(source, line).report("osal::Error", errorNumber, what + ": " + systemText(errorNumber));
}

}  // namespace osal
