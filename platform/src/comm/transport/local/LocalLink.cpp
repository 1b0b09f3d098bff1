#include "LocalLink.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include "LocalTransport.h"
#include "Peer.h"
#include "SystemError.h"
#include "ipl/ErrorStorage.h"
#include "ipl/GlobalErrorHandler.h"

namespace comm::transport {
namespace {

// The system caps it at what an unprivileged process may have. Below 300 KB a long message is handed over in so many
// steps that it takes three times as long.
constexpr int SendBuffer = 1 << 20;

// How long a sender lends its thread to a receiver that takes nothing. A receiver that is at work takes something every
// few microseconds, and its sender then needs no copy of the message; one that is stopped costs this once.
constexpr timeval Patience{0, 4000};

std::span<const std::uint8_t> bodyOf(const Message& message) {
    if (!message.data) return {};
    return {message.data->data, message.data->size};
}

FrameHeader headerOf(const Message& message) {
    return {message.data ? message.data->size : 0, message.data ? FrameHeader::CallWithArray : FrameHeader::Call,
            message.handleSize};
}

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
    if (!absent) use(std::move(socket));
    return false;
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
    // From here on a send may wait, but no longer than the patience.
    if (::fcntl(socket.get(), F_SETFL, 0) != 0 ||
        ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDBUF, &SendBuffer, sizeof SendBuffer) != 0 ||
        ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &Patience, sizeof Patience) != 0)
        return failed("set up the connection to " + path, __FILE__, __LINE__);
    return false;
}

// The greeting waits in the outbox while the user is told, so that a message sent meanwhile comes behind it.
void LocalLink::use(FileDescriptor socket) {
    const int fd = socket.get();
    {
        const GreetingBody greeting(m_identity);
        const std::scoped_lock lock(m_mutex);
        m_socket = std::move(socket);
        m_outbox.append({sizeof greeting, FrameHeader::Greeting, 0},
                        {reinterpret_cast<const std::uint8_t*>(&greeting), sizeof greeting}, 0);
        m_up = true;
    }
    m_events->up();
    // Also when the user has closed the link inside the event: what was sent still has to leave.
    if (begin(fd) && m_events != nullptr) m_events->down();
}

// Sends the greeting and whatever came behind it; true if the connection is of no use, as nobody would see its end.
bool LocalLink::begin(int fd) {
    const std::scoped_lock lock(m_mutex);
    if (m_transport.watch(fd, m_number, false)) {
        drop();
        return true;
    }
    flush();
    return false;
}

bool LocalLink::send(const Message& message) {
    const std::span<const std::uint8_t> body = bodyOf(message);
    if (body.size() > MaxArray)
        return error::record(Error::MessageTooLong, std::to_string(body.size()) + " bytes to " + m_identity.display,
                             __FILE__, __LINE__);
    const std::scoped_lock lock(m_mutex);
    if (!m_up) return notAlive();
    if (!m_outbox.empty()) return m_outbox.append(headerOf(message), body, 0) || m_outbox.full() ? overflow() : false;
    switch (m_outbox.send(m_socket.get(), headerOf(message), body)) {
        case Outbox::Result::Done:
            return false;
        case Outbox::Result::Later:
            return m_transport.watch(m_socket.get(), m_number, true);
        case Outbox::Result::Lost:
            break;
    }
    m_up = false;  // the transport's thread sees the connection's end and tells it
    return notAlive();
}

bool LocalLink::notAlive() const {
    return error::record(Error::NotAlive, m_identity.display, __FILE__, __LINE__);
}

// The mutex is held.
bool LocalLink::overflow() {
    m_outbox.clear();
    m_up = false;
    ::shutdown(m_socket.get(), SHUT_RDWR);
    return error::record(Error::Transport,
                         m_identity.display + " takes nothing and more waits for it than can be kept (" +
                             std::to_string(Outbox::Limit >> 20) + " MiB); the connection is closed",
                         __FILE__, __LINE__);
}

void LocalLink::ready(std::uint32_t events) {
    if ((events & ~static_cast<std::uint32_t>(EPOLLOUT)) == 0) {
        const std::scoped_lock lock(m_mutex);
        flush();
        return;
    }
    const std::scoped_lock telling(m_telling);
    if (!lose() || m_events == nullptr) return;
    m_events->down();
    // A registration that came back before its predecessor's end was seen is there already. The same one as before has
    // closed the connection for a reason of its own, and would again.
    if (m_events != nullptr && !(currentStamp() == m_stamp)) appeared(m_identity.fileName);
}

// Sends what waits, as far as the socket takes it. The mutex is held.
void LocalLink::flush() {
    if (!m_socket || m_outbox.empty()) return;
    switch (m_outbox.flush(m_socket.get())) {
        case Outbox::Result::Later:
            (void)m_transport.watch(m_socket.get(), m_number, true);
            return;
        case Outbox::Result::Lost:
            ::shutdown(m_socket.get(), SHUT_RDWR);
            return;
        case Outbox::Result::Done:
            break;
    }
    if (m_closed)
        drop();
    else
        (void)m_transport.watch(m_socket.get(), m_number, false);
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
    m_socket.reset();
    if (m_closed) m_transport.remove(m_number);
}

void LocalLink::close() {
    if (m_closed.exchange(true)) return;
    const std::scoped_lock telling(m_telling);
    m_events = nullptr;
    const std::scoped_lock lock(m_mutex);
    m_up = false;
    // What waits is still sent by the transport's thread, which then drops the connection.
    if (m_outbox.empty() || !m_socket) drop();
}

}  // namespace comm::transport
