#include "ListeningSockets.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "ipl/ErrorStorage.h"

namespace comm::transport {
namespace {

std::uint32_t eventsFor(bool watched) {
    return watched ? std::uint32_t{EPOLLIN} : 0U;
}

bool anyoneWaitsAt(const ListeningSocket& socket) {
    pollfd state{socket.fd(), POLLIN, 0};
    return ::poll(&state, 1, 0) > 0;
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
    closeFormer();
    return false;
}

bool ListeningSockets::isCurrentIn(const RuntimeDirectory& directory) const {
    const std::scoped_lock lock(m_mutex);
    return !m_sockets.empty() && m_sockets.back().isCurrentIn(directory);
}

void ListeningSockets::watch(bool wanted) {
    const std::scoped_lock lock(m_mutex);
    m_watched = wanted;
    for (const ListeningSocket& socket : m_sockets)
        if (m_epoll.set(socket.fd(), m_number, eventsFor(wanted))) ipl::ErrorStorage::ack();  // it is watched already
}

FileDescriptor ListeningSockets::accept() {
    const std::scoped_lock lock(m_mutex);
    FileDescriptor accepted;
    errno = EAGAIN;
    for (auto at = m_sockets.begin(); at != m_sockets.end() && !accepted && errno == EAGAIN; ++at)
        accepted = FileDescriptor(::accept4(at->fd(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    const int error = errno;
    closeFormer();
    errno = error;
    return accepted;
}

// The mutex is held.
void ListeningSockets::closeFormer() {
    m_sockets.remove_if(
        [this](const ListeningSocket& socket) { return &socket != &m_sockets.back() && !anyoneWaitsAt(socket); });
}

bool ListeningSockets::anyoneWaits() const {
    const std::scoped_lock lock(m_mutex);
    return std::ranges::any_of(m_sockets, anyoneWaitsAt);
}

void ListeningSockets::close() {
    const std::scoped_lock lock(m_mutex);
    if (!m_sockets.empty()) m_sockets.back().removeName();
    m_sockets.clear();
}

}  // namespace comm::transport
