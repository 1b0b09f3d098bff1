#include "Warnings.h"

#include "ipl/GlobalErrorHandler.h"

namespace comm::transport {

void Warnings::write(const ipl::string& kind, ipl::string text, const char* function, const char* source) {
    {
        const std::scoped_lock lock(m_mutex);
        if (!m_limits[kind].admit(text)) return;
    }
    ipl::GlobalErrorHandler::doWarning(text.c_str(), function, source);
}

}  // namespace comm::transport
