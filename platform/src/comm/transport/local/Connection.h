#pragma once

#include <atomic>
#include <memory>
#include <optional>

#include "../Transport.h"
#include "../common/FileDescriptor.h"
#include "../common/Identity.h"
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
        Over      ///< the connection is over; whoever connected has then been told to be gone
    };

    /// All that is given by reference must outlive the connection. `closing` tells that no further event may come.
    Connection(FileDescriptor socket, ipl::string peer, const Identity& identity, ListenerEvents& events,
               const std::atomic<bool>& closing)
        : m_socket(std::move(socket)),
          m_peer(std::move(peer)),
          m_identity(identity),
          m_events(events),
          m_closing(closing) {}

    /// Reads what the socket has to tell: the greeting, and then only the end, at which all that was written is
    /// delivered. The doorbell of a greeting is watched by `epoll` under that number.
    Result readSocket(Epoll& epoll, std::uint64_t doorbellNumber);

    /// Delivers what the peer has written up to now.
    Result readRing();

    /// Whether the peer has written something that is not delivered.
    bool hasSomething() const { return m_reader && m_reader->hasSomething(); }

    /// Announces that nobody looks at the ring until the doorbell rings. False if there is something to read.
    bool fallAsleep() { return !m_reader || m_reader->fallAsleep(); }
    void wakeUp() {
        if (m_reader) m_reader->wakeUp();
    }

    /// To be called before a connection is given up: the peer keeps its end of the doorbell, which would go on ringing.
    void forgetDoorbell(Epoll& epoll) const { epoll.remove(m_doorbell.fd()); }

  private:
    Result greet(Epoll& epoll, std::uint64_t doorbellNumber);
    Result readToTheEnd();
    bool received(const Message& message) override;
    Result over(const char* fault);

    FileDescriptor m_socket;
    const ipl::string m_peer;
    const Identity& m_identity;
    ListenerEvents& m_events;
    const std::atomic<bool>& m_closing;
    Doorbell m_doorbell;
    std::optional<RingReader> m_reader;  // once the peer has greeted
};

}  // namespace comm::transport
