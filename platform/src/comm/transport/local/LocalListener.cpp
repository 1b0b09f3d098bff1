#include "LocalListener.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>

#include "../common/SystemError.h"
#include "Peer.h"
#include "ipl/GlobalErrorHandler.h"

namespace comm::transport {
namespace {

// Whose dispatch thread this is.
thread_local const LocalListener* dispatching = nullptr;

void warn(const ipl::string& text, const char* function) {
    ipl::GlobalErrorHandler::doWarning(text.c_str(), function, "comm/transport/local/LocalListener");
}

}  // namespace

LocalListener::LocalListener(const RuntimeDirectory& directory, const TrackedBase::IdentityArgs& identity,
                             std::shared_ptr<ListenerEvents> events, ThreadKeeper keeper)
    : m_directory(directory), m_identity(identity), m_keeper(std::move(keeper)), m_events(std::move(events)) {}

bool LocalListener::open() {
    if (m_lock.take(m_directory, m_identity, "")) return true;
    m_reserve = FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    util::Thread::Runnable& runnable = *this;
    m_thread =
        std::make_unique<util::Thread>(runnable, "dispatch_" + std::to_string(m_identity.key.instance), false, 0);
    // The thread keeps this object, as it may be closed from one of its own callbacks.
    m_self = shared_from_this();
    if (!createSocket() && !m_epoll.open() && !m_epoll.set(m_socket.get(), NewConnection, EPOLLIN) &&
        !m_thread->start())
        return false;
    m_self.reset();
    m_directory.remove(m_identity.fileName);
    m_lock.release();
    return true;
}

// The socket gets its name only when it listens, so whoever sees the name can connect. Behind the lock the name, and
// the one it has before, are this registration's alone; leftovers of a process that was killed are replaced.
bool LocalListener::createSocket() {
    const ipl::string unfinished = m_identity.fileName + ".new";
    const ipl::string path = m_directory.pathOf(m_identity.fileName);
    m_socket = FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!m_socket) return failed("socket for " + path, __FILE__, __LINE__);
    m_directory.remove(unfinished);
    const sockaddr_un address = m_directory.address(unfinished);
    if (::bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return failed("bind " + path, __FILE__, __LINE__);
    if (::listen(m_socket.get(), SOMAXCONN) != 0) return failed("listen on " + path, __FILE__, __LINE__);
    if (::renameat(m_directory.fd(), unfinished.c_str(), m_directory.fd(), m_identity.fileName.c_str()) != 0)
        return failed("rename to " + path, __FILE__, __LINE__);
    return false;
}

void LocalListener::close() {
    m_closing = true;
    m_directory.remove(m_identity.fileName);
    m_epoll.wakeUp();
    if (dispatching == this)
        m_keeper(std::move(m_thread));
    else
        (void)m_thread->join();  // it runs, so it can be joined
    m_lock.release();
}

void LocalListener::run(util::Thread const* const /*thread*/) {
    const std::shared_ptr<LocalListener> self = std::move(m_self);
    dispatching = this;
    while (!m_closing) {
        const bool more = readRings();
        const std::span<const epoll_event> ready = m_epoll.wait(more ? 0 : Epoll::NoLimit);
        if (!more) wakeUp();
        serve(ready);
    }
    m_connections.clear();
    m_socket.reset();
    m_events.reset();
}

// Delivers what there is, and announces to sleep when there is no more; false then.
bool LocalListener::readRings() {
    for (int round = 0; round < BusyRounds && !m_closing; ++round)
        if (!readEachRing() && !m_wait.wait([this] { return anythingToRead(); })) return !fallAsleep();
    return true;
}

bool LocalListener::readEachRing() {
    bool any = false;
    for (auto at = m_connections.begin(); at != m_connections.end() && !m_closing;) {
        const Connection::Result result = at->second->readRing();
        any = any || result != Connection::Result::Nothing;
        at = result == Connection::Result::Over ? drop(at) : std::next(at);
    }
    return any;
}

bool LocalListener::anythingToRead() const {
    return m_closing || std::any_of(m_connections.begin(), m_connections.end(),
                                    [](const auto& entry) { return entry.second->hasSomething(); });
}

bool LocalListener::fallAsleep() {
    const bool nothing = std::all_of(m_connections.begin(), m_connections.end(),
                                     [](const auto& entry) { return entry.second->fallAsleep(); });
    if (!nothing) wakeUp();
    return nothing;
}

void LocalListener::wakeUp() {
    m_wait.ended();
    for (const auto& [number, connection] : m_connections) connection->wakeUp();
}

// Connections come before newcomers: a client that went away is seen off before its successor is let in.
void LocalListener::serve(std::span<const epoll_event> ready) {
    bool newcomers = false;
    for (const epoll_event& event : ready) {
        if (m_closing) return;
        if (event.data.u64 == NewConnection)
            newcomers = true;
        else if (event.data.u64 > DoorbellRang)
            serveConnection(event.data.u64);
    }
    if (newcomers && !m_closing) accept();
}

void LocalListener::serveConnection(std::uint64_t number) {
    const auto found = m_connections.find(number);
    if (found != m_connections.end() && found->second->readSocket(m_epoll, DoorbellRang) == Connection::Result::Over)
        drop(found);
}

LocalListener::Connections::iterator LocalListener::drop(Connections::iterator connection) {
    connection->second->forgetDoorbell(m_epoll);
    return m_connections.erase(connection);
}

void LocalListener::accept() {
    FileDescriptor socket(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (socket)
        admit(std::move(socket));
    else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM)
        dropOne();
    // What else can happen here, such as a peer that is gone already, is over with the call.
}

void LocalListener::dropOne() {
    warn("connection to " + m_identity.display + " refused: " + osal::systemText(errno), "accept");
    m_reserve.reset();
    FileDescriptor(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC)).reset();
    m_reserve = FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
}

void LocalListener::admit(FileDescriptor socket) {
    ipl::string peer;
    if (isForeign(socket.get(), peer)) {
        warn("connection of " + peer + " to " + m_identity.display + " refused", "admit");
        return;
    }
    const std::uint64_t number = m_nextConnection++;
    if (m_epoll.set(socket.get(), number, EPOLLIN)) return;
    m_connections.emplace(number,
                          std::make_unique<Connection>(std::move(socket), peer, m_identity, *m_events, m_closing));
}

}  // namespace comm::transport
