#pragma once

#include <memory>
#include <utility>

#include "comm/CallbackTurn.h"
#include "comm/Message.h"
#include "comm/TrackedBase.h"
#include "ipl/string.h"

/// The seam between the framework and what carries its messages. A transport finds registrations by their identity,
/// tells their life and death, and delivers messages whole, in order, and one at a time per registration.
namespace comm::transport {

/// What a listener reports, while its thread has the turn. The object lives as long as any thread may report to it.
class ListenerEvents {
  public:
    explicit ListenerEvents(std::shared_ptr<CallbackTurn> turn) : m_turn(std::move(turn)) {}
    ListenerEvents(const ListenerEvents&) = delete;
    ListenerEvents& operator=(const ListenerEvents&) = delete;
    virtual ~ListenerEvents() = default;

    /// A thread of the transport takes it before it reports, and reports nothing more once it has ended. The transport
    /// neither waits for it on a thread that has another listener's turn nor holds a lock while it does.
    CallbackTurn& turn() const { return *m_turn; }

    virtual void connected() = 0;
    virtual void received(const Message& message) = 0;
    virtual void disconnected() = 0;

  private:
    const std::shared_ptr<CallbackTurn> m_turn;
};

/// A registration on the wire.
class Listener {
  public:
    virtual ~Listener() = default;

    /// Withdraws it, after its turn has ended, and lets go of its events soon. The identity is free when it returns,
    /// unless it is called from one of the listener's own callbacks: then at the latest when that has returned. Any
    /// thread, once. Does not wait for callbacks.
    virtual void close() = 0;
};

/// What a link reports: on the thread inside `open`, and otherwise on a thread of the transport. Never two at once. No
/// lock of the transport is held, so an event may call the transport, above all close the link.
class LinkEvents {
  public:
    LinkEvents() = default;
    LinkEvents(const LinkEvents&) = delete;
    LinkEvents& operator=(const LinkEvents&) = delete;
    virtual ~LinkEvents() = default;

    /// The registration is there: messages sent from now on, also inside this call, reach it.
    virtual void up() = 0;
    /// The registration is gone, or the connection to it is lost; the link looks for it again.
    virtual void down() = 0;
};

/// A way to a registration, alive or not. Any two of its calls may run at once.
class Link {
  public:
    virtual ~Link() = default;

    /// Begins to look for the registration; one that is alive is up when it returns. A shortage, such as one of
    /// descriptors, only delays it: the link tries again by itself. True on failure, with the reason in the error
    /// storage. Once.
    virtual bool open() = 0;

    /// Hands a message over or queues it. True when it was dropped, with the reason in the error storage.
    virtual bool send(const Message& message) = 0;

    /// Ends it for good. An event that is just being reported may still run when it returns, and its receiver must not
    /// mind. What was sent still arrives while the transport runs. A second call does nothing.
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

    /// Makes a registration reachable. The caller may have the turn of `events` meanwhile, so that they wait. Null on
    /// failure, with the reason in the error storage. The listener keeps `events` until its last event has returned.
    virtual std::shared_ptr<Listener> listen(const TrackedBase::IdentityArgs& identity,
                                             std::shared_ptr<ListenerEvents> events) = 0;

    /// Makes a link that is not open yet. It keeps `events` until it is closed and its last event has returned.
    virtual std::shared_ptr<Link> link(const TrackedBase::IdentityArgs& identity,
                                       std::shared_ptr<LinkEvents> events) = 0;
};

}  // namespace comm::transport
