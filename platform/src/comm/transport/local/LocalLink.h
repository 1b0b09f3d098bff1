#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>

#include "../Transport.h"
#include "../common/FileDescriptor.h"
#include "../common/Identity.h"
#include "../common/Outbox.h"
#include "RetryPause.h"
#include "RingWriter.h"

namespace comm::transport {

class LocalTransport;

/// A proxy's connection to a registration, made anew whenever the registration comes back.
///
/// One thread at a time tries to connect, and reports `up` while it does; the transport's thread reports `down`, and
/// only of connections that it was given to watch after that. So events never overlap, and no lock is held in them.
class LocalLink final : public Link, public std::enable_shared_from_this<LocalLink> {
  public:
    using Clock = std::chrono::steady_clock;

    /// `transport` must outlive the link's use.
    LocalLink(LocalTransport& transport, const TrackedBase::IdentityArgs& identity, std::shared_ptr<LinkEvents> events);

    bool open() override;
    bool send(const Message& message) override;
    void close() override;

    /// For the transport's thread: a registration has appeared under this file name, or any if it is empty; the link's
    /// socket has something to tell.
    void appeared(const ipl::string& fileName);
    void ready();
    /// For the transport's thread: does what is due, such as trying again and giving memory back. Returns when there
    /// will be more to do, if there will.
    std::optional<Clock::time_point> attend(Clock::time_point now);

    /// The link's number among the transport's.
    std::uint64_t number() const { return m_number; }

  private:
    enum class Attempt {
        Connected,
        Absent,   ///< there is no registration
        Delayed,  ///< it does not take connections at the moment, or is just going
        Short,    ///< the system is short of something; the reason is in the error storage
        Refused   ///< something is wrong; the reason is in the error storage
    };
    static constexpr std::chrono::milliseconds TidyAfter{1000};

    bool beginFirstAttempt();
    Attempt look();
    Attempt attempt();
    bool beginAttempt();
    bool endAttempt(Attempt result);
    Attempt connect();
    Attempt connectSocket(FileDescriptor& socket) const;
    Attempt use(FileDescriptor socket);
    Attempt makeRing(FileDescriptor socket);
    Attempt greet();
    void scheduleRetry();
    void scheduleTidying();
    void report(Attempt result);

    bool keep(const Outgoing& call);
    void spoilt(const char* fault);
    void giveUp();
    bool readSocket(const char*& fault);
    void lose();
    void flush(const char*& fault);
    void tidy(const char*& fault);
    void drop();
    void endCalls();

    LocalTransport& m_transport;
    const Identity m_identity;
    const std::uint64_t m_number;

    // Guards what follows. Held while a message is handed over. Taken before the transport's.
    std::mutex m_mutex;
    std::shared_ptr<LinkEvents> m_events;  // until it is closed
    bool m_closed = false;
    bool m_attempting = false;  // a thread tries to connect; it alone ends a connection meanwhile
    bool m_lookAgain = false;   // after the attempt
    bool m_appeared = false;    // a registration, since the present attempt or connection began
    std::optional<Clock::time_point> m_retryAt;
    std::optional<Clock::time_point> m_tidyAt;
    RetryPause m_pause;
    Clock::time_point m_connectedAt;

    FileDescriptor m_socket;
    std::optional<RingWriter> m_ring;  // as long as there is a socket
    FileDescriptor m_file;             // of the ring, until it is handed over
    Outbox m_outbox;
    bool m_up = false;
    bool m_givenUp = false;  // by this side
};

}  // namespace comm::transport
