#include "InterruptibleRequest.h"

#include <cerrno>

namespace transport {

InterruptibleRequest::InterruptibleRequest(fuse_req_t request, Channel& channel, Request& owner)
    : m_request(request), m_channel(channel), m_owner(owner) {
    fuse_req_interrupt_func(m_request, &InterruptibleRequest::interrupt, this);
}

// The library holds a lock of the request while it calls interrupt(), so this waits for a call that runs.
fuse_req_t InterruptibleRequest::settle() {
    fuse_req_interrupt_func(m_request, nullptr, nullptr);
    return m_request;
}

void InterruptibleRequest::interrupt(fuse_req_t request, void* data) {
    auto* const self = static_cast<InterruptibleRequest*>(data);
    const std::unique_ptr<Request> waiting = self->m_channel.withdraw(self->m_owner);
    if (waiting != nullptr) (void)fuse_reply_err(request, EINTR);
}

}  // namespace transport
