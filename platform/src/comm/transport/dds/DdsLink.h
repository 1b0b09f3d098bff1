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
#include "ipl/RepeatLimit.h"

namespace comm::transport {

class DdsTransport;

/// A proxy's connection to a registration: a writer in the registration's partition, made anew whenever the
/// registration comes back.
class DdsLink final : public Link, public std::enable_shared_from_this<DdsLink> {
  public:
    /// `transport` must outlive the link's use.
    DdsLink(DdsTransport& transport, const TrackedBase::IdentityArgs& identity, std::shared_ptr<LinkEvents> events);

    bool open() override;
    bool send(const Message& message) override;
    void close() override;

    /// Brings the link in line with what the engine knows: connects, reports events, sends what waits. Where another
    /// thread does so already, that one does it again instead. True if it has to be called again soon. For the
    /// transport's thread.
    bool follow();
    /// Gives everything up: the transport ends.
    void abandon();

    /// Whether the other one is a closed link to the same registrations, of which this process has not yet deleted the
    /// writer. Until then this one does not connect: it would come to the receiver before its predecessor has gone.
    bool isPrecededBy(const DdsLink& other) const { return &other != this && other.m_closed && other.m_key == m_key; }

  private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::scoped_lock<std::mutex>;

    bool begin();
    void connectToTheLiving();
    bool isConnecting();
    void followInTurn();
    void followOnce();
    void report(void (LinkEvents::*event)());
    bool lose();
    bool connect();
    bool rise();
    bool isPending();
    bool waitsForMatch(ipl::string& mismatch);
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
    ipl::RepeatLimit m_failures;

    // Whoever raises it from 0 follows until it is 0 again; others raise it and go. `open` has it from the beginning.
    std::atomic<unsigned> m_follows{1};

    // Guards what follows: the connection and what waits for it. Held while a message is handed over, and never while
    // an event is reported.
    std::mutex m_mutex;
    std::shared_ptr<LinkEvents> m_events;  // until it is closed
    bool m_opened = false;
    std::atomic<bool> m_closed{false};  // read without the mutex, too
    ipl::string m_name;                 // of the registration that the writer is for
    ipl::string m_refused;              // of the one that took nothing
    Entity m_writer;
    Clock::time_point m_retryAt;  // when a writer could not be made
    std::uint64_t m_written = 0;  // calls, with this writer
    Clock::time_point m_madeAt;   // the writer
    ipl::string m_owner;          // of the registration, for people; empty once a mismatch was reported
    Outbox m_outbox;
    bool m_up = false;
    bool m_givenUp = false;
    bool m_left = false;
};

}  // namespace comm::transport
