#pragma once

#include <memory>
#include <optional>

#include "../Transport.h"
#include "../common/FileDescriptor.h"
#include "../common/Identity.h"
#include "../common/Outbox.h"
#include "../common/Warnings.h"
#include "Doorbell.h"
#include "Epoll.h"
#include "RingReader.h"

namespace comm::transport {

/// One peer's connection to a registration, on the receiving side. Used by the registration's dispatch thread alone.
class Connection final : private RingReader::Sink {
  public:
    enum class Result {
        Nothing,  ///< there was nothing to do
        Done,     ///< something was done, and there may be more
        Short,    ///< the process has no descriptors left for what has come; it stays there
        Over      ///< the connection is over; whoever connected has then been told to be gone
    };

    /// What its socket is watched for.
    static constexpr std::uint32_t Events = EPOLLIN | EPOLLRDHUP;

    /// All that is given by reference must outlive the connection. With `othersWait` it is not reported at all if it
    /// was closed already without a call: a service would answer it by connecting to whoever came after it.
    Connection(FileDescriptor socket, ipl::string peer, const Identity& identity, ListenerEvents& events,
               Warnings& warnings, bool othersWait = false)
        : m_socket(std::move(socket)),
          m_peer(std::move(peer)),
          m_identity(identity),
          m_events(events),
          m_warnings(warnings),
          m_othersWait(othersWait) {}

    /// Reads what the socket has to tell: the greeting, then that the peer sends nothing new any more, and its end, at
    /// which all that was written is still delivered. `epoll` watches the socket as `event` says, and the doorbell of a
    /// greeting under that number.
    Result readSocket(Epoll& epoll, const epoll_event& event, std::uint64_t doorbellNumber);

    /// Reports no events of the socket, or those that are there and come again, under that number.
    void watch(Epoll& epoll, std::uint64_t number, bool wanted) const;

    /// Delivers what the peer has written up to now, or the first part of that.
    Result readRing();

    /// Whether the greeting has not come yet.
    bool isNew() const { return m_state == State::New; }

    /// Whether the peer has closed the connection, and not all that it sent before has been delivered.
    bool isLeaving() const { return m_state == State::Leaving || m_state == State::Gone; }

    /// Ends the connection of a peer that leaves, although it still owes something.
    Result giveUp() { return over("it has left and does not send what it still owes, while others wait"); }

    /// Whether the peer has written something that is not delivered.
    bool hasSomething() const { return m_state == State::Gone || (m_reader && m_reader->hasSomething()); }

    /// Announces that nobody looks at the ring until the doorbell rings. False if there is something to read.
    bool fallAsleep() { return m_state != State::Gone && (!m_reader || m_reader->fallAsleep()); }
    void wakeUp() {
        if (m_reader) m_reader->wakeUp();
    }

    /// To be called before a connection is given up: the peer keeps its end of the doorbell, which would go on ringing.
    void forgetDoorbell(Epoll& epoll) const { epoll.remove(m_doorbell.fd()); }

  private:
    enum class State {
        New,      ///< the greeting has not come yet
        Open,     ///< the peer has greeted
        Leaving,  ///< it makes no new calls, and what waits on its side is still to come
        Gone      ///< it writes nothing more
    };

    // What a peer that leaves may still send: what waits at most on its side, in the ring, and the call that is on its
    // way.
    static constexpr std::size_t MostAfterLeaving = Outbox::Limit + RingMemory::Capacity + MaxArray;

    Result greet(Epoll& epoll, std::uint64_t doorbellNumber);
    Result leave(Epoll& epoll, const epoll_event& event);
    bool hasGoneUnheard() const;
    bool received(const Message& message) override;
    Result over(const char* fault);

    FileDescriptor m_socket;
    const ipl::string m_peer;
    const Identity& m_identity;
    ListenerEvents& m_events;
    Warnings& m_warnings;
    const bool m_othersWait;
    Doorbell m_doorbell;
    std::optional<RingReader> m_reader;  // once the peer has greeted
    State m_state = State::New;
    std::size_t m_afterLeaving = 0;  // bytes, with what a call takes beside its array
};

}  // namespace comm::transport
