#pragma once

#include <list>
#include <memory>
#include <mutex>

#include "Epoll.h"
#include "ListeningSocket.h"

namespace comm::transport {

/// Where a registration accepts connections: at the socket that has its name, and at those that had it before the name
/// was lost and taken again, as long as anyone waits there. Any thread.
class ListeningSockets {
  public:
    /// `epoll` reports new connections under `number`. Outlives this object.
    ListeningSockets(Epoll& epoll, std::uint64_t number) : m_epoll(epoll), m_number(number) {}

    /// Makes a further one, which gets the name. True on failure, with the reason in the error storage.
    [[nodiscard]] bool add(std::shared_ptr<const RuntimeDirectory> directory, const Identity& identity);

    /// Whether the name in that directory leads to the last one.
    bool isCurrentIn(const RuntimeDirectory& directory) const;

    /// Starts and stops to report new connections.
    void watch(bool wanted);

    /// Accepts a connection. Empty if there is none, with the reason in `errno`, which is EAGAIN if none waits.
    FileDescriptor accept();

    /// Whether there is a connection to accept.
    bool anyoneWaits() const;

    /// Removes the name and refuses all further connections.
    void close();

  private:
    void closeFormer();

    // Guards what follows.
    mutable std::mutex m_mutex;
    std::list<ListeningSocket> m_sockets;
    bool m_watched = true;

    Epoll& m_epoll;
    const std::uint64_t m_number;
};

}  // namespace comm::transport
