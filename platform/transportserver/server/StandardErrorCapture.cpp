#include "StandardErrorCapture.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

namespace transport {

StandardErrorCapture::StandardErrorCapture()
    : m_original(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)), m_captured(::memfd_create("stderr", MFD_CLOEXEC)) {
    if (m_captured >= 0) (void)::dup2(m_captured, STDERR_FILENO);
}

StandardErrorCapture::~StandardErrorCapture() {
    if (m_original >= 0) (void)::dup2(m_original, STDERR_FILENO);
    if (m_original >= 0) (void)::close(m_original);
    if (m_captured >= 0) (void)::close(m_captured);
}

std::string StandardErrorCapture::text() const {
    char buffer[1024];
    const ssize_t count = ::pread(m_captured, buffer, sizeof buffer, 0);
    std::string text(buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    while (text.ends_with('\n')) text.pop_back();
    std::replace(text.begin(), text.end(), '\n', ';');
    return text;
}

}  // namespace transport
