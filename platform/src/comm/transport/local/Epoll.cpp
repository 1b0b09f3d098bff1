#include "Epoll.h"

#include <sys/eventfd.h>

#include "../common/SystemError.h"

namespace comm::transport {

bool Epoll::open() {
    m_epoll = FileDescriptor(::epoll_create1(EPOLL_CLOEXEC));
    if (!m_epoll) return failed("epoll_create1", __FILE__, __LINE__);
    m_wakeUp = FileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!m_wakeUp) return failed("eventfd", __FILE__, __LINE__);
    return set(m_wakeUp.get(), WakeUp, EPOLLIN);
}

bool Epoll::set(int fd, std::uint64_t number, std::uint32_t events) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = number;
    if (::epoll_ctl(m_epoll.get(), EPOLL_CTL_MOD, fd, &event) == 0) return false;
    return ::epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, fd, &event) != 0 && failed("epoll_ctl", __FILE__, __LINE__);
}

void Epoll::remove(int fd) {
    // Fails only for what is not watched.
    (void)::epoll_ctl(m_epoll.get(), EPOLL_CTL_DEL, fd, nullptr);
}

void Epoll::wakeUp() {
    // Fails only when the counter is full, and then the wake-up is there already.
    (void)::eventfd_write(m_wakeUp.get(), 1);
}

std::span<const epoll_event> Epoll::wait(int milliseconds) {
    int count = 0;
    do count = ::epoll_wait(m_epoll.get(), m_events.data(), static_cast<int>(m_events.size()), milliseconds);
    while (count < 0 && errno == EINTR);
    return {m_events.data(), static_cast<std::size_t>(count < 0 ? 0 : count)};
}

}  // namespace comm::transport
