#include "Dispatcher.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "../common/SystemError.h"
#include "Peer.h"
#include "ipl/ErrorStorage.h"

namespace comm::transport {
namespace {

constexpr const char* Source = "comm/transport/local/Dispatcher";

}  // namespace

Dispatcher::Dispatcher(Warnings& warnings, const Identity& identity, std::shared_ptr<ListenerEvents> events)
    : m_warnings(warnings), m_identity(identity), m_events(std::move(events)) {}

void Dispatcher::run() {
    CallbackTurn& turn = m_events->turn();
    std::span<const epoll_event> ready;
    for (bool more = true; turn.enter();) {
        if (!more) awake();
        serve(ready);
        more = readRings();
        if (m_patience || m_acceptAgainAt) resumeAccepting();
        turn.leave();
        ready = sleep(more);
    }
    m_connections.clear();
    m_events.reset();
}

// Delivers what there is, and announces to sleep when there is no more; false then. The clock is read only while
// nothing is waited for: where one call is awaited after the other, reading it costs a good part of each.
bool Dispatcher::readRings() {
    std::optional<Clock::time_point> end;
    bool busy = false;
    for (int round = 0; round < MostRounds && !ended(); ++round) {
        if (!readEachRing()) {
            if (!m_wait.wait([this] { return anythingToRead(); })) return !fallAsleep();
            busy = false;
        } else if (std::exchange(busy, true)) {
            const Clock::time_point now = Clock::now();
            if (!end) end = now + LongestReading;
            if (now >= *end) return true;
        }
    }
    return true;
}

bool Dispatcher::readEachRing() {
    bool any = false;
    for (auto at = m_connections.begin(); at != m_connections.end() && !ended();) {
        const Connection::Result result = at->second->readRing();
        any = any || result != Connection::Result::Nothing;
        at = result == Connection::Result::Over ? drop(at) : std::next(at);
    }
    return any;
}

bool Dispatcher::anythingToRead() const {
    return ended() || std::any_of(m_connections.begin(), m_connections.end(),
                                  [](const auto& entry) { return entry.second->hasSomething(); });
}

bool Dispatcher::fallAsleep() {
    const bool nothing = std::all_of(m_connections.begin(), m_connections.end(),
                                     [](const auto& entry) { return entry.second->fallAsleep(); });
    if (!nothing) awake();
    return nothing;
}

void Dispatcher::awake() {
    m_wait.ended();
    for (const auto& [number, connection] : m_connections) connection->wakeUp();
}

std::span<const epoll_event> Dispatcher::sleep(bool thereIsMore) {
    if (!m_patience) return m_epoll.wait(thereIsMore ? 0 : untilNewcomers());
    const Clock::time_point begin = Clock::now();
    const std::span<const epoll_event> ready = m_epoll.wait(thereIsMore ? 0 : untilNewcomers());
    *m_patience -= Clock::now() - begin;
    return ready;
}

// In milliseconds, rounded up.
int Dispatcher::untilNewcomers() const {
    if (!m_patience && !m_acceptAgainAt) return Epoll::NoLimit;
    const Clock::duration left = m_patience ? *m_patience : *m_acceptAgainAt - Clock::now();
    return static_cast<int>(
        std::chrono::ceil<std::chrono::milliseconds>(std::max(left, Clock::duration::zero())).count());
}

// Connections come before newcomers, so that a client that has gone is reported before its successor is let in. A full
// batch of events may have left the end of one out. For the same reason one newcomer is let in at a time: by the next
// look it may have gone.
void Dispatcher::serve(std::span<const epoll_event> ready) {
    bool newcomers = false;
    for (const epoll_event& event : ready) {
        if (ended()) return;
        const std::uint64_t number = event.data.u64;  // no reference: the structure is packed
        if (number == NewConnection) newcomers = true;
        if (const auto found = m_connections.find(number); found != m_connections.end()) serveConnection(found, event);
    }
    if (newcomers && ready.size() < Epoll::MostEvents && !ended()) accept();
}

void Dispatcher::serveConnection(Connections::iterator connection, const epoll_event& event) {
    switch (connection->second->readSocket(m_epoll, event, DoorbellRang)) {
        case Connection::Result::Over:
            drop(connection);
            break;
        case Connection::Result::Short:
            connection->second->watch(m_epoll, connection->first, false);
            waitForResources(EMFILE);
            break;
        case Connection::Result::Nothing:
        case Connection::Result::Done:
            break;
    }
}

Dispatcher::Connections::iterator Dispatcher::drop(Connections::iterator connection) {
    connection->second->forgetDoorbell(m_epoll);
    return m_connections.erase(connection);
}

void Dispatcher::accept() {
    if (anyoneLeaving()) return waitForLeavers();
    FileDescriptor socket = m_sockets.accept();
    if (socket)
        admit(std::move(socket));
    else if (isShortage(errno))
        waitForResources(errno);
    // What else can happen here, such as a peer that is gone already, is over with the call.
}

// As long as a client that has left is not heard to its end, its successor is not let in; and nobody can tell which of
// the newcomers that is.
void Dispatcher::waitForLeavers() {
    m_sockets.watch(false);
    if (!m_patience) m_patience = LongestPatience;
}

void Dispatcher::admit(FileDescriptor socket) {
    ipl::string peer;
    if (isForeign(socket.get(), peer)) {
        m_warnings.write("stranger at " + m_identity.display,
                         "connection of " + peer + " to " + m_identity.display + " refused", "admit", Source);
        return;
    }
    const std::uint64_t number = m_nextConnection++;
    if (m_epoll.set(socket.get(), number, Connection::Events)) {
        m_warnings.write(
            "no watch at " + m_identity.display,
            "connection of " + peer + " to " + m_identity.display + " refused: " + ipl::ErrorStorage::reasonText(),
            "admit", Source);
        return ipl::ErrorStorage::ack();
    }
    auto connection = std::make_unique<Connection>(std::move(socket), peer, m_identity, *m_events, m_warnings,
                                                   m_sockets.anyoneWaits());
    serveConnection(m_connections.emplace(number, std::move(connection)).first,
                    epoll_event{});  // its greeting may be there
}

// Newcomers wait in the socket's queue. It would stay ready meanwhile, so it is not watched.
void Dispatcher::waitForResources(int error) {
    m_warnings.write(
        "no resources",
        "connections to " + m_identity.display + " have to wait: " + osal::systemText(error) + " (see ulimit -n)",
        "waitForResources", Source);
    m_sockets.watch(false);
    m_acceptAgainAt = Clock::now() + ShortagePause;
}

void Dispatcher::resumeAccepting() {
    if (m_patience && *m_patience <= Clock::duration::zero()) endLeavers();
    if (m_patience && !anyoneLeaving()) m_patience.reset();
    if (m_acceptAgainAt && Clock::now() >= *m_acceptAgainAt) {
        m_acceptAgainAt.reset();
        for (const auto& [number, connection] : m_connections)
            if (connection->isNew()) connection->watch(m_epoll, number, true);
    }
    if (!m_patience && !m_acceptAgainAt) m_sockets.watch(true);
}

bool Dispatcher::anyoneLeaving() const {
    return std::any_of(m_connections.begin(), m_connections.end(),
                       [](const auto& entry) { return entry.second->isLeaving(); });
}

void Dispatcher::endLeavers() {
    for (auto at = m_connections.begin(); at != m_connections.end() && !ended();) {
        const bool leaves = at->second->isLeaving() && at->second->giveUp() == Connection::Result::Over;
        at = leaves ? drop(at) : std::next(at);
    }
}

}  // namespace comm::transport
