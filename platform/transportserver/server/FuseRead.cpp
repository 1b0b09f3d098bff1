#include "FuseRead.h"

#include <sys/uio.h>

#include <vector>

namespace transport {

// A reply that fails has lost its reader, and nobody is left to be told.
void FuseRead::answer(int error, std::span<const Slice> bytes) {
    std::vector<iovec> parts;
    parts.reserve(bytes.size());
    for (const Slice& slice : bytes) parts.push_back({const_cast<std::byte*>(slice.data), slice.size});
    fuse_req_t request = m_request.settle();
    if (error != 0)
        (void)fuse_reply_err(request, error);
    else
        (void)fuse_reply_iov(request, parts.data(), static_cast<int>(parts.size()));
}

}  // namespace transport
