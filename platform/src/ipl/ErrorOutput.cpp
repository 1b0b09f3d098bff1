#include "ipl/ErrorOutput.h"

#include "ipl/ErrorStorage.h"

namespace ipl {

void ErrorOutput::report(const char* type, int code, const string& reason) const {
    ErrorStorage::record({type, code, reason, m_source, m_line});
}

}  // namespace ipl
