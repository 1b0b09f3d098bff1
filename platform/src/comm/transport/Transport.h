#pragma once

#include <memory>

#include "comm/Message.h"
#include "comm/TrackedBase.h"
#include "ipl/string.h"

/// The seam between the framework and what carries its messages. A transport finds registrations by their identity,
/// tells their life and death, and delivers messages whole, in order, and one at a time per registration.
namespace comm::transport {

/// What a listener tells, all on its one dispatch thread and never two at once.
class ListenerEvents {
  public:
    virtual ~ListenerEvents() = default;

    virtual void connected() = 0;
    virtual void received(const Message& message) = 0;
    virtual void disconnected() = 0;
};

/// A registration on the wire.
class Listener {
  public:
    virtual ~Listener() = default;

    /// Withdraws it: no event runs or will run when it returns, except the one that it is called from. Any thread,
    /// once.
    virtual void close() = 0;
};

/// What a link tells: on the thread inside `open`, and otherwise on a thread of the transport. Never two at once.
class LinkEvents {
  public:
    virtual ~LinkEvents() = default;

    /// The registration is there: messages sent from now on, also inside this call, reach it.
    virtual void up() = 0;
    /// The registration is gone, or the connection to it is lost; the link looks for it again.
    virtual void down() = 0;
};

/// A way to a registration, alive or not.
class Link {
  public:
    virtual ~Link() = default;

    /// Begins to look for the registration; one that is alive is up when it returns. True on failure, with the reason
    /// in the error storage.
    virtual bool open() = 0;

    /// Hands a message over or queues it. True when it was dropped, with the reason in the error storage. Any thread.
    virtual bool send(const Message& message) = 0;

    /// Ends it: no event runs or will run when it returns, except one that it is called from. What was sent still
    /// arrives while the transport runs. Any thread; a second call does nothing.
    virtual void close() = 0;
};

class Transport {
  public:
    virtual ~Transport() = default;

    /// Makes it ready. True on failure, with the reason in the error storage.
    virtual bool start() = 0;

    /// Ends it, after all its listeners and links are closed. Not on a thread of its own.
    virtual void stop() = 0;

    /// What it is, for people, in one line.
    virtual ipl::string description() const = 0;

    /// Makes a registration reachable; events may come before it returns. Null on failure, with the reason in the error
    /// storage. The listener keeps `events` until its last event has returned.
    virtual std::shared_ptr<Listener> listen(const TrackedBase::IdentityArgs& identity,
                                             std::shared_ptr<ListenerEvents> events) = 0;

    /// Makes a link that is not open yet. `events` must live until the link is closed.
    virtual std::shared_ptr<Link> link(const TrackedBase::IdentityArgs& identity, LinkEvents& events) = 0;
};

}  // namespace comm::transport
