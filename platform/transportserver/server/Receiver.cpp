#include "Receiver.h"

#include <cerrno>
#include <utility>

namespace transport {
namespace {

// The library passes the handlers nothing that leads back here.
thread_local Receiver* t_current = nullptr;

}  // namespace

Receiver::~Receiver() {
    if (m_buffer.mem != nullptr) m_buffers.giveBack(m_buffer.mem);
}

void Receiver::run() {
    t_current = this;
    while (fuse_session_exited(m_session) == 0) {
        if (m_buffer.mem == nullptr) m_buffer.mem = m_buffers.take();
        const int received = fuse_session_receive_buf(m_session, &m_buffer);
        if (received == -EINTR) continue;
        if (received <= 0) break;
        fuse_session_process_buf(m_session, &m_buffer);
    }
}

std::shared_ptr<const void> Receiver::keepMemory() {
    return t_current->m_buffers.share(std::exchange(t_current->m_buffer.mem, nullptr));
}

}  // namespace transport
