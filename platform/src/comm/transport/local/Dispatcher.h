#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <span>

#include "../Transport.h"
#include "../common/Identity.h"
#include "../common/Warnings.h"
#include "BriefWait.h"
#include "Connection.h"
#include "Epoll.h"
#include "ListeningSockets.h"

namespace comm::transport {

/// What a registration's dispatch thread does: it accepts connections, reads them in turn, and reports what arrives.
class Dispatcher {
  public:
    /// `warnings` and `identity` must outlive it.
    Dispatcher(Warnings& warnings, const Identity& identity, std::shared_ptr<ListenerEvents> events);

    /// True on failure, with the reason in the error storage.
    [[nodiscard]] bool open() { return m_epoll.open(); }

    /// Serves until the turn of the events has ended, and then ends all connections. On the dispatch thread, once.
    void run();

    /// Makes the thread see that the turn has ended. Any thread.
    void wakeUp() { m_epoll.wakeUp(); }

    ListeningSockets& sockets() { return m_sockets; }

  private:
    using Clock = std::chrono::steady_clock;
    using Connections = std::map<std::uint64_t, std::unique_ptr<Connection>>;

    static constexpr std::uint64_t NewConnection = 1;
    static constexpr std::uint64_t DoorbellRang = 2;
    // The sockets, and with them newcomers, are looked at so often at least, however much there is to read.
    static constexpr std::chrono::milliseconds LongestReading{2};
    static constexpr int MostRounds = 64;
    static constexpr std::chrono::milliseconds ShortagePause{100};
    // How long newcomers wait in all for clients that have left and still owe something.
    static constexpr std::chrono::milliseconds LongestPatience{1000};

    bool readRings();
    bool readEachRing();
    bool anythingToRead() const;
    bool fallAsleep();
    void awake();
    std::span<const epoll_event> sleep(bool thereIsMore);
    int untilNewcomers() const;

    void serve(std::span<const epoll_event> ready);
    void serveConnection(Connections::iterator connection, const epoll_event& event);
    Connections::iterator drop(Connections::iterator connection);

    void accept();
    void admit(FileDescriptor socket);
    void waitForLeavers();
    void waitForResources(int error);
    void resumeAccepting();
    bool anyoneLeaving() const;
    void endLeavers();
    bool ended() const { return m_events->turn().ended(); }

    Warnings& m_warnings;
    const Identity& m_identity;
    Epoll m_epoll;
    ListeningSockets m_sockets{m_epoll, NewConnection};

    // The dispatch thread's own.
    std::shared_ptr<ListenerEvents> m_events;
    Connections m_connections;
    BriefWait m_wait;
    std::uint64_t m_nextConnection = DoorbellRang + 1;
    std::optional<Clock::time_point> m_acceptAgainAt;  // after a shortage
    std::optional<Clock::duration> m_patience;         // left, while newcomers wait for clients that leave
};

}  // namespace comm::transport
