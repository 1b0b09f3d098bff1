#include "LocalLink.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <array>

#include "../common/Refusal.h"
#include "../common/SystemError.h"
#include "Greeting.h"
#include "LocalTransport.h"
#include "Peer.h"
#include "ipl/ErrorStorage.h"
#include "ipl/GlobalErrorHandler.h"

namespace comm::transport {
namespace {

constexpr const char* ImpossiblePosition = "it claims an impossible position";

}  // namespace

LocalLink::LocalLink(LocalTransport& transport, const TrackedBase::IdentityArgs& identity, LinkEvents& events)
    : m_transport(transport), m_identity(identity), m_number(transport.nextNumber()), m_events(&events) {}

bool LocalLink::open() {
    const std::scoped_lock telling(m_telling);
    // Known to the transport before the first look, so that a registration that appears meanwhile is not missed.
    return m_transport.add(shared_from_this()) || look();
}

void LocalLink::appeared(const ipl::string& fileName) {
    if (!fileName.empty() && fileName != m_identity.fileName) return;
    const std::scoped_lock telling(m_telling);
    if (m_events == nullptr) return;
    {
        const std::scoped_lock lock(m_mutex);
        if (m_socket) return;  // its end has not been noticed yet, and then this one will be found
    }
    if (look()) {
        ipl::GlobalErrorHandler::doWarning(ipl::ErrorStorage::reason(), "appeared", "comm/transport/local/LocalLink");
        ipl::ErrorStorage::ack();
    }
}

// Connects if the registration is there. True on failure; a missing registration is none.
bool LocalLink::look() {
    m_stamp = currentStamp();
    bool absent = false;
    FileDescriptor socket;
    if (connectSocket(absent, socket)) return true;
    return !absent && use(std::move(socket));
}

LocalLink::Stamp LocalLink::currentStamp() const {
    struct stat status {};
    if (::fstatat(m_transport.directory().fd(), m_identity.fileName.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return {};
    return {status.st_ino, status.st_ctim};
}

bool LocalLink::connectSocket(bool& absent, FileDescriptor& socket) const {
    const ipl::string path = m_transport.directory().pathOf(m_identity.fileName);
    socket = FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket) return failed("socket for " + path, __FILE__, __LINE__);
    const sockaddr_un address = m_transport.directory().address(m_identity.fileName);
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        absent = errno == ENOENT || errno == ECONNREFUSED;
        return !absent && failed("connect to " + path, __FILE__, __LINE__);
    }
    ipl::string peer;
    if (isForeign(socket.get(), peer))
        return error::record(Error::Transport, path + " is served by " + peer, __FILE__, __LINE__);
    return false;
}

// Begins to use a connection. It is in use before the other side hears of it, because what that does about it may lead
// to a call through this very link. True on failure.
bool LocalLink::use(FileDescriptor socket) {
    if (makeRing(std::move(socket))) return true;
    m_events->up();
    // Also when the user has closed the link inside the event: what was sent still has to be read.
    if (greet() && m_events != nullptr) m_events->down();
    return false;
}

bool LocalLink::makeRing(FileDescriptor socket) {
    RingMemory memory;
    FileDescriptor file;
    Doorbell doorbell;
    if (memory.create(file) || doorbell.create()) return true;
    RingWriter ring(std::move(memory), std::move(doorbell));
    if (ring.prepare())
        return error::record(Error::Transport, "no memory for a connection to " + m_identity.display, __FILE__,
                             __LINE__);
    const std::scoped_lock lock(m_mutex);
    m_socket = std::move(socket);
    m_file = std::move(file);
    m_ring.emplace(std::move(ring));
    m_up = true;
    return false;
}

// Tells the other side who is meant, and hands the ring over. True if the connection is of no use.
bool LocalLink::greet() {
    const std::scoped_lock lock(m_mutex);
    const FileDescriptor file = std::move(m_file);
    bool failure = m_transport.watch(m_socket.get(), m_number);
    if (!failure && Greeting::send(m_socket.get(), GreetingBody(m_identity), file.get(), m_ring->doorbell().fd())) {
        const bool justGone = errno == EPIPE || errno == ECONNRESET;
        failure = justGone || failed("greet " + m_identity.display, __FILE__, __LINE__);
    }
    if (failure || (m_closed && m_outbox.empty())) drop();
    return failure;
}

bool LocalLink::send(const Message& message) {
    Outgoing call(message);
    if (call.length > MaxArray) return refusal::tooLong(m_identity, call);
    const std::scoped_lock lock(m_mutex);
    if (!m_up) return refusal::notAlive(m_identity);
    if (!m_outbox.empty()) return keep(call);
    const RingWriter::Result result = m_ring->write(call);
    if (m_ring->wantsTidying()) m_transport.tidyLater();
    if (result == RingWriter::Result::Done) return false;
    if (result == RingWriter::Result::Full) return keep(call);
    spoiled(ImpossiblePosition);
    return refusal::notAlive(m_identity);
}

// Keeps a call until there is room for it; true if it cannot be kept. The mutex is held.
bool LocalLink::keep(const Outgoing& call) {
    if (!m_outbox.append(call) && !m_outbox.full()) return false;
    giveUp();
    return refusal::tooMuchWaits(m_identity);
}

// The other side does what makes no sense. The mutex is held.
void LocalLink::spoiled(const char* fault) {
    if (m_up || !m_outbox.empty()) {
        const ipl::string text = "connection to " + m_identity.display + " ended: " + fault;
        ipl::GlobalErrorHandler::doWarning(text.c_str(), "spoiled", "comm/transport/local/LocalLink");
    }
    giveUp();
}

// The transport's thread sees the connection's end and tells it. The mutex is held.
void LocalLink::giveUp() {
    m_outbox.clear();
    m_up = false;
    ::shutdown(m_socket.get(), SHUT_RDWR);
}

void LocalLink::ready() {
    if (!hasEnded()) return;
    const std::scoped_lock telling(m_telling);
    if (!lose() || m_events == nullptr) return;
    m_events->down();
    // A registration that came back before its predecessor's end was seen is there already. The same one as before has
    // closed the connection for a reason of its own, and would again.
    if (m_events != nullptr && !(currentStamp() == m_stamp)) appeared(m_identity.fileName);
}

// Reads the socket; what comes are bytes that tell of room, and then the end.
bool LocalLink::hasEnded() {
    const std::scoped_lock lock(m_mutex);
    if (!m_socket) return false;
    std::array<char, 64> bytes{};
    const ssize_t count = ::recv(m_socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count <= 0) return count == 0 || (errno != EAGAIN && errno != EINTR);
    if (m_ring->takeAnswers(static_cast<std::size_t>(count)))
        spoiled("it sent something that is no message");
    else
        flush();
    return false;
}

// Writes what waits, as far as there is room. The mutex is held.
void LocalLink::flush() {
    if (m_outbox.empty()) return;
    RingWriter::Result result = RingWriter::Result::Done;
    m_outbox.flush([&](Outgoing& call) {
        result = m_ring->write(call);
        return result == RingWriter::Result::Done;
    });
    if (result == RingWriter::Result::Broken)
        spoiled(ImpossiblePosition);
    else if (m_outbox.empty() && m_closed)
        drop();
}

bool LocalLink::tidy() {
    const std::scoped_lock lock(m_mutex);
    if (!m_ring) return false;
    m_ring->tidy();
    flush();
    return m_ring && m_ring->wantsTidying();
}

// Gives the connection up; false if there was none.
bool LocalLink::lose() {
    const std::scoped_lock lock(m_mutex);
    if (!m_socket) return false;
    drop();
    return true;
}

void LocalLink::drop() {
    m_up = false;
    m_outbox.clear();
    m_ring.reset();
    m_file.reset();
    m_socket.reset();
    if (m_closed) m_transport.remove(m_number);
}

void LocalLink::close() {
    if (m_closed.exchange(true)) return;
    const std::scoped_lock telling(m_telling);
    m_events = nullptr;
    const std::scoped_lock lock(m_mutex);
    m_up = false;
    // What waits is still sent by the transport's thread, which then drops the connection; and so does who is about to
    // greet.
    if ((m_outbox.empty() && !m_file) || !m_socket) drop();
}

}  // namespace comm::transport
