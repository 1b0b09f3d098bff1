#pragma once

#include <fuse3/fuse_lowlevel.h>

#include "Channel.h"

namespace transport {

/// A request of the kernel that a channel may keep waiting, and that the kernel may interrupt meanwhile. Part of the
/// channel's own object for it.
class InterruptibleRequest {
  public:
    /// To be made last of all that belongs to `owner`: from here on interruptions are passed on. Both outlive it.
    InterruptibleRequest(fuse_req_t request, Channel& channel, Request& owner);
    InterruptibleRequest(const InterruptibleRequest&) = delete;
    InterruptibleRequest& operator=(const InterruptibleRequest&) = delete;

    /// The request, to be replied to at once: no interruption runs or comes any more.
    fuse_req_t settle();

  private:
    static void interrupt(fuse_req_t request, void* data);

    fuse_req_t m_request;
    Channel& m_channel;
    Request& m_owner;
};

}  // namespace transport
