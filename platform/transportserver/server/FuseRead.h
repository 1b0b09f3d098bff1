#pragma once

#include "InterruptibleRequest.h"

namespace transport {

/// A read request of the kernel.
class FuseRead final : public Request {
  public:
    /// `channel` must outlive the request.
    FuseRead(fuse_req_t request, Channel& channel) : m_request(request, channel, *this) {}

    void answer(int error, std::span<const Slice> bytes) override;

  private:
    InterruptibleRequest m_request;
};

}  // namespace transport
