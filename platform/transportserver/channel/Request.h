#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "Slice.h"

namespace transport {

/// A read of a channel, or the base of a write: it is answered exactly once, by the channel that it was given to or by
/// who has withdrawn it.
class Request {
  public:
    Request() = default;
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;
    virtual ~Request() = default;

    /// The outcome: an error as in `errno`, or 0 and for a read the bytes, none at the end of the file. Called with no
    /// lock held, on any thread that uses the channel.
    virtual void answer(int error, std::span<const Slice> bytes) = 0;

  private:
    friend class Channel;
    bool m_isWithdrawn = false;  // before it could wait; guarded by the channel's mutex
};

/// A write into a channel.
class WriteRequest : public Request {
  public:
    /// What is to be written. Its memory lasts until Channel::write() returns, or longer if keep() is called before.
    virtual std::span<const std::byte> bytes() const = 0;

    /// Makes the bytes last as long as the returned owner, without moving them.
    virtual std::shared_ptr<const void> keep() = 0;
};

}  // namespace transport
