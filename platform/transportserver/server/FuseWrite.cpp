#include "FuseWrite.h"

#include "Receiver.h"

namespace transport {

std::shared_ptr<const void> FuseWrite::keep() {
    return Receiver::keepMemory();
}

void FuseWrite::answer(int error, std::span<const Slice> /*bytes*/) {
    fuse_req_t request = m_request.settle();
    if (error != 0)
        (void)fuse_reply_err(request, error);
    else
        (void)fuse_reply_write(request, m_bytes.size());
}

}  // namespace transport
