#include "LocalLink.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <utility>

#include "../common/Refusal.h"
#include "../common/SystemError.h"
#include "Greeting.h"
#include "LocalTransport.h"
#include "Peer.h"
#include "ipl/ErrorStorage.h"

namespace comm::transport {
namespace {

constexpr const char* ImpossiblePosition = "it claims an impossible position";
constexpr const char* Source = "comm/transport/local/LocalLink";

}  // namespace

LocalLink::LocalLink(LocalTransport& transport, const TrackedBase::IdentityArgs& identity,
                     std::shared_ptr<LinkEvents> events)
    : m_transport(transport), m_identity(identity), m_number(transport.nextNumber()), m_events(std::move(events)) {}

bool LocalLink::open() {
    if (beginFirstAttempt()) return true;
    const Attempt result = attempt();
    if (result == Attempt::Refused) return true;
    report(result);
    return false;
}

// Known to the transport before the first look, so that a registration that appears meanwhile is not missed; and this
// thread makes the first attempt, so that a living registration is connected when that returns. True on failure.
bool LocalLink::beginFirstAttempt() {
    const std::scoped_lock lock(m_mutex);
    if (m_closed)
        return error::record(Error::NotConnected, m_identity.display + " was disconnected", __FILE__, __LINE__);
    if (m_transport.add(shared_from_this())) return true;
    m_attempting = true;
    return false;
}

void LocalLink::appeared(const ipl::string& fileName) {
    if (!fileName.empty() && fileName != m_identity.fileName) return;
    {
        const std::scoped_lock lock(m_mutex);
        m_appeared = true;  // if there is a connection, its end has not been noticed yet
        m_pause.reset();
    }
    report(look());
}

// Connects if the registration is there and no connection exists. What another thread's attempt has missed, that one
// looks for itself.
LocalLink::Attempt LocalLink::look() {
    return beginAttempt() ? attempt() : Attempt::Absent;
}

LocalLink::Attempt LocalLink::attempt() {
    for (;;) {
        const Attempt result = connect();
        if (endAttempt(result)) return result;
    }
}

bool LocalLink::beginAttempt() {
    const std::scoped_lock lock(m_mutex);
    if (m_attempting) m_lookAgain = true;
    if (m_closed || m_attempting || m_socket) return false;
    m_attempting = true;
    m_retryAt.reset();
    return true;
}

// False if there is reason to look once more.
bool LocalLink::endAttempt(Attempt result) {
    const std::scoped_lock lock(m_mutex);
    if (std::exchange(m_lookAgain, false) && !m_socket && !m_closed) return false;
    m_attempting = false;
    if (m_closed)
        endCalls();
    else if (result != Attempt::Connected && result != Attempt::Absent)
        scheduleRetry();  // what is refused may be put right; only `open` gives up
    return true;
}

LocalLink::Attempt LocalLink::connect() {
    FileDescriptor socket;
    const Attempt result = connectSocket(socket);
    return result == Attempt::Connected ? use(std::move(socket)) : result;
}

LocalLink::Attempt LocalLink::connectSocket(FileDescriptor& socket) const {
    const std::shared_ptr<const RuntimeDirectory> directory = m_transport.directory();
    const ipl::string path = directory->pathOf(m_identity.fileName);
    socket = FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket) {
        const bool shortage = isShortage(errno);
        failed("socket for " + path, __FILE__, __LINE__);
        return shortage ? Attempt::Short : Attempt::Refused;
    }
    const sockaddr_un address = directory->address(m_identity.fileName);
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        if (errno == ENOENT || errno == ECONNREFUSED) return Attempt::Absent;
        if (errno == EAGAIN) return Attempt::Delayed;  // nothing is wrong: the service stands still for a while
        const bool shortage = isShortage(errno);
        failed("connect to " + path, __FILE__, __LINE__);
        return shortage ? Attempt::Short : Attempt::Refused;
    }
    ipl::string peer;
    if (!isForeign(socket.get(), peer)) return Attempt::Connected;
    error::record(Error::Transport, path + " is served by " + peer, __FILE__, __LINE__);
    return Attempt::Refused;
}

// Begins to use a connection. It is in use before the other side hears of it, because what that does about it may lead
// to a call through this very link; and it is watched last, so that its end is reported after its beginning.
LocalLink::Attempt LocalLink::use(FileDescriptor socket) {
    const Attempt made = makeRing(std::move(socket));
    if (made != Attempt::Connected) return made;
    std::shared_ptr<LinkEvents> events;
    {
        const std::scoped_lock lock(m_mutex);
        events = m_events;
    }
    if (events != nullptr) events->up();
    const Attempt result = greet();
    if (result != Attempt::Connected && events != nullptr) events->down();
    return result;
}

LocalLink::Attempt LocalLink::makeRing(FileDescriptor socket) {
    RingMemory memory;
    FileDescriptor file;
    Doorbell doorbell;
    if (memory.create(file) || doorbell.create()) return Attempt::Short;
    RingWriter ring(std::move(memory), std::move(doorbell));
    if (ring.prepare()) {
        error::record(Error::Transport, "no memory for a connection to " + m_identity.display, __FILE__, __LINE__);
        return Attempt::Short;
    }
    const std::scoped_lock lock(m_mutex);
    if (m_closed) return Attempt::Absent;
    m_socket = std::move(socket);
    m_file = std::move(file);
    m_ring.emplace(std::move(ring));
    m_up = true;
    m_appeared = false;
    return Attempt::Connected;
}

// Tells the other side which registration is meant, and hands the ring over; also when the user has closed the link
// inside the event, since what was sent still has to be read.
LocalLink::Attempt LocalLink::greet() {
    const std::scoped_lock lock(m_mutex);
    const FileDescriptor file = std::move(m_file);
    if (!Greeting::send(m_socket.get(), GreetingBody(m_identity), file.get(), m_ring->doorbell().fd()) &&
        !m_transport.watch(m_socket.get(), m_number)) {
        m_connectedAt = Clock::now();
        return Attempt::Connected;
    }
    const bool justGone = errno == EPIPE || errno == ECONNRESET;
    if (!justGone) failed("greet " + m_identity.display, __FILE__, __LINE__);
    drop();
    return justGone ? Attempt::Delayed : Attempt::Short;
}

// The mutex is held.
void LocalLink::scheduleRetry() {
    m_retryAt = Clock::now() + m_pause.next();
    m_transport.attendAt(*m_retryAt);
}

// Warns of what keeps the link from connecting, and takes that out of the error storage.
void LocalLink::report(Attempt result) {
    if (result != Attempt::Short && result != Attempt::Refused) return;
    m_transport.warnings().write(
        "waiting for " + m_identity.display,
        "no connection to " + m_identity.display + " yet, it is tried again: " + ipl::ErrorStorage::reasonText(),
        "report", Source);
    ipl::ErrorStorage::ack();
}

bool LocalLink::send(const Message& message) {
    Outgoing call(message);
    if (call.length > MaxArray) return refusal::tooLong(m_identity, call);
    {
        const std::scoped_lock lock(m_mutex);
        if (!m_up) return refusal::notAlive(m_identity);
        if (!m_outbox.empty()) return keep(call);
        const RingWriter::Result result = m_ring->write(call);
        if (m_ring->wantsTidying() && !m_tidyAt) scheduleTidying();
        if (result == RingWriter::Result::Done) return false;
        if (result == RingWriter::Result::Full) return keep(call);
        giveUp();
    }
    spoilt(ImpossiblePosition);
    return refusal::notAlive(m_identity);
}

// The mutex is held.
void LocalLink::scheduleTidying() {
    m_tidyAt = Clock::now() + TidyAfter;
    m_transport.attendAt(*m_tidyAt);
}

// Keeps a call until there is room for it; true if it cannot be kept. The mutex is held.
bool LocalLink::keep(const Outgoing& call) {
    if (!m_outbox.append(call) && !m_outbox.full()) return false;
    giveUp();
    return refusal::tooMuchWaits(m_identity);
}

// Reports that the other side does what makes no sense. Not with the mutex held.
void LocalLink::spoilt(const char* fault) {
    m_transport.warnings().write(fault + m_identity.display, "connection to " + m_identity.display + " ended: " + fault,
                                 "spoilt", Source);
}

// The transport's thread sees the connection's end and reports it. The mutex is held.
void LocalLink::giveUp() {
    m_outbox.clear();
    m_up = false;
    m_givenUp = true;
    ::shutdown(m_socket.get(), SHUT_RDWR);
}

void LocalLink::ready() {
    std::shared_ptr<LinkEvents> events;
    const char* fault = nullptr;
    bool lookNow = false;
    {
        const std::scoped_lock lock(m_mutex);
        if (readSocket(fault)) {
            events = m_events;
            lookNow = m_appeared;
            lose();
        }
    }
    if (fault != nullptr) spoilt(fault);
    if (events != nullptr) events->down();
    if (lookNow) report(look());
}

// Takes what has come: bytes that report room, and then the end; true at the end. `fault` is set if the other side does
// what makes no sense. The mutex is held.
bool LocalLink::readSocket(const char*& fault) {
    if (!m_socket) return false;
    std::array<char, 64> bytes{};
    const ssize_t count = ::recv(m_socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count <= 0) return count == 0 || (errno != EAGAIN && errno != EINTR);
    if (m_ring->takeAnswers(static_cast<std::size_t>(count))) {
        fault = "it sent something that is no message";
        giveUp();
    } else {
        flush(fault);
    }
    return false;
}

// The registration may be there again already, and then its appearance was noticed. The same one as before has closed
// the connection for a reason of its own that may pass; one that takes nothing, or sends nonsense, is not connected
// again. The mutex is held.
void LocalLink::lose() {
    constexpr std::chrono::seconds LongEnough{1};
    if (Clock::now() - m_connectedAt > LongEnough) m_pause.reset();
    if (!m_closed && !m_appeared && !m_givenUp) scheduleRetry();
    drop();
}

// Writes what waits, as far as there is room. The mutex is held.
void LocalLink::flush(const char*& fault) {
    if (m_outbox.empty()) return;
    RingWriter::Result result = RingWriter::Result::Done;
    m_outbox.flush([&](Outgoing& call) {
        result = m_ring->write(call);
        return result == RingWriter::Result::Done;
    });
    if (result == RingWriter::Result::Broken) {
        fault = ImpossiblePosition;
        giveUp();
    } else if (m_outbox.empty() && m_closed && !m_attempting) {
        drop();
    }
}

std::optional<LocalLink::Clock::time_point> LocalLink::attend(Clock::time_point now) {
    const char* fault = nullptr;
    bool retry = false;
    {
        const std::scoped_lock lock(m_mutex);
        if (m_tidyAt && *m_tidyAt <= now) tidy(fault);
        retry = m_retryAt && *m_retryAt <= now;
    }
    if (fault != nullptr) spoilt(fault);
    if (retry) report(look());
    const std::scoped_lock lock(m_mutex);
    return m_tidyAt && m_retryAt ? std::min(*m_tidyAt, *m_retryAt) : m_tidyAt ? m_tidyAt : m_retryAt;
}

// Gives memory back that was not needed since the last time, and writes again what found none. The mutex is held.
void LocalLink::tidy(const char*& fault) {
    m_tidyAt.reset();
    if (!m_ring) return;
    m_ring->tidy();
    flush(fault);
    if (m_ring && m_ring->wantsTidying()) scheduleTidying();
}

// Gives the connection up. The mutex is held.
void LocalLink::drop() {
    m_up = false;
    m_givenUp = false;
    m_outbox.clear();
    m_ring.reset();
    m_file.reset();
    m_socket.reset();
    if (m_closed) m_transport.remove(m_number);
}

void LocalLink::close() {
    std::shared_ptr<LinkEvents> events;  // may keep the last of its user, and so goes after the lock
    const std::scoped_lock lock(m_mutex);
    if (std::exchange(m_closed, true)) return;
    events.swap(m_events);
    m_up = false;
    if (!m_attempting) endCalls();
}

// What waits is still written by the transport's thread, which then drops the connection. The receiver is told that
// nothing else comes, so that it lets no other client in before. The mutex is held.
void LocalLink::endCalls() {
    if (m_outbox.empty() || !m_socket)
        drop();
    else
        ::shutdown(m_socket.get(), SHUT_WR);
}

}  // namespace comm::transport
