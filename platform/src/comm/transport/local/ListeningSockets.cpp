#include "ListeningSockets.h"

#include <sys/socket.h>

#include <cerrno>

#include "ipl/ErrorStorage.h"

namespace comm::transport {
namespace {

std::uint32_t eventsFor(bool watched) {
    return watched ? std::uint32_t{EPOLLIN} : 0U;
}

}  // namespace

bool ListeningSockets::add(std::shared_ptr<const RuntimeDirectory> directory, const Identity& identity) {
    ListeningSocket socket;
    if (socket.open(std::move(directory), identity)) return true;
    const std::scoped_lock lock(m_mutex);
    if (m_epoll.set(socket.fd(), m_number, eventsFor(m_watched))) {
        socket.removeName();
        return true;
    }
    m_sockets.push_back(std::move(socket));
    return false;
}

bool ListeningSockets::isCurrent() const {
    const std::scoped_lock lock(m_mutex);
    return !m_sockets.empty() && m_sockets.back().isCurrent();
}

void ListeningSockets::removeName() const {
    const std::scoped_lock lock(m_mutex);
    if (!m_sockets.empty()) m_sockets.back().removeName();
}

void ListeningSockets::watch(bool wanted) {
    const std::scoped_lock lock(m_mutex);
    m_watched = wanted;
    for (const ListeningSocket& socket : m_sockets)
        if (m_epoll.set(socket.fd(), m_number, eventsFor(wanted))) ipl::ErrorStorage::ack();  // it is watched already
}

FileDescriptor ListeningSockets::accept() const {
    const std::scoped_lock lock(m_mutex);
    errno = EAGAIN;
    for (const ListeningSocket& socket : m_sockets) {
        FileDescriptor accepted(::accept4(socket.fd(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (accepted || errno != EAGAIN) return accepted;
    }
    return {};
}

void ListeningSockets::close() {
    const std::scoped_lock lock(m_mutex);
    if (!m_sockets.empty()) m_sockets.back().removeName();
    m_sockets.clear();
}

}  // namespace comm::transport
