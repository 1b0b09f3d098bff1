#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>

#include "../Transport.h"
#include "../common/Identity.h"
#include "../common/Outbox.h"
#include "Entity.h"
#include "Registration.h"

namespace comm::transport {

class DdsTransport;

/// A proxy's connection to a registration: a writer in the registration's partition, made anew whenever the
/// registration comes back.
class DdsLink final : public Link, public std::enable_shared_from_this<DdsLink> {
  public:
    /// `transport` must outlive the link's use, `events` lives until the link is closed.
    DdsLink(DdsTransport& transport, const TrackedBase::IdentityArgs& identity, LinkEvents& events);

    bool open() override;
    bool send(const Message& message) override;
    void close() override;

    /// Brings the link in line with what the engine knows: connects, tells events, sends what waits. True if it has to
    /// be asked again soon. For the transport's thread.
    bool follow();
    /// Gives everything up: the transport ends.
    void abandon();

    /// A closed link to the same registrations has not seen its writer off. Until then this one does not connect: it
    /// would come to the receiver before its predecessor has gone.
    bool isPrecededBy(const DdsLink& other) const { return &other != this && other.m_closed && other.m_key == m_key; }

  private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::scoped_lock<std::mutex>;

    bool followUntilConnecting();
    bool isConnecting();
    bool lose();
    bool connect();
    bool rise();
    bool waitsForMatch();
    bool isMatched() const;
    bool write(const Outgoing& call);
    bool keep(const Outgoing& call);
    void giveUp();
    bool flush();
    bool isDrained() const;
    void drop();
    void leave();

    DdsTransport& m_transport;
    const Identity m_identity;
    const ipl::string m_key;
    std::atomic<bool> m_closed{false};

    // Held while the link follows, tells an event, or is closed: so when `close` returns no event runs. Recursive,
    // because an event may close the link. Taken before `m_mutex`.
    std::recursive_mutex m_telling;
    LinkEvents* m_events;
    ipl::string m_name;     // of the registration that the writer is for
    ipl::string m_refused;  // of the one that took nothing

    // Guards what follows: the connection and what waits for it. Held while a message is handed over.
    std::mutex m_mutex;
    Entity m_writer;
    std::uint64_t m_written = 0;  // calls, with this writer
    Clock::time_point m_madeAt;   // the writer
    ipl::string m_owner;          // of the registration, for people; empty when told that the two do not fit
    Outbox m_outbox;
    bool m_up = false;
    bool m_givenUp = false;
    bool m_left = false;
};

}  // namespace comm::transport
