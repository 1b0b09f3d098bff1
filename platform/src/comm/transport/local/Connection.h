#pragma once

#include <atomic>
#include <memory>

#include "../Transport.h"
#include "FileDescriptor.h"
#include "FrameReader.h"
#include "Identity.h"

namespace comm::transport {

/// One peer's connection to a registration, on the receiving side. Used by the registration's dispatch thread alone.
class Connection final : private FrameReader::Sink {
  public:
    /// All that is given by reference must outlive the connection. `closing` tells that no further event may come.
    Connection(FileDescriptor socket, ipl::string peer, const Identity& identity, ListenerEvents& events,
               const std::atomic<bool>& closing)
        : m_socket(std::move(socket)),
          m_peer(std::move(peer)),
          m_identity(identity),
          m_events(events),
          m_closing(closing) {}

    /// Reads and delivers what has arrived; with `toTheEnd`, all that ever will, as the peer has hung up. True when the
    /// connection is over; whoever connected has then been told to be gone.
    bool process(bool toTheEnd);

  private:
    bool greeted(const GreetingBody& greeting) override;
    bool received(const Message& message) override;
    bool over(const char* fault);

    FileDescriptor m_socket;
    const ipl::string m_peer;
    const Identity& m_identity;
    ListenerEvents& m_events;
    const std::atomic<bool>& m_closing;
    FrameReader m_reader;
    bool m_greeted = false;
    const char* m_refusal = nullptr;
};

}  // namespace comm::transport
