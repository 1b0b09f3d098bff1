#include "Doorbell.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/uio.h>

#include <array>
#include <string_view>

#include "../common/SystemError.h"

namespace comm::transport {
namespace {

// More rings than a process ever makes, and far enough from the end of the counter.
constexpr eventfd_t Rings = eventfd_t{1} << 62;

}  // namespace

// Taking one from the counter makes room in it, and that is what the waiting thread is woken by.
const std::uint32_t Doorbell::Events = EPOLLOUT | static_cast<std::uint32_t>(EPOLLET);

bool Doorbell::create() {
    m_bell = FileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE));
    return (!m_bell || ::eventfd_write(m_bell.get(), Rings) != 0) && failed("eventfd", __FILE__, __LINE__);
}

// Waiting for an arbitrary file could mean to run a stranger's code, or to wait for ever.
const char* Doorbell::adopt(FileDescriptor bell) {
    std::array<char, 64> kind{};
    const ipl::string name = "/proc/self/fd/" + std::to_string(bell.get());
    const ssize_t length = ::readlink(name.c_str(), kind.data(), kind.size());
    if (length < 0 || std::string_view(kind.data(), static_cast<std::size_t>(length)) != "anon_inode:[eventfd]")
        return "its doorbell is none";
    m_bell = std::move(bell);
    return nullptr;
}

// Both ends share the counter, its value and whether it blocks. So a ring is a read, for which this call alone can say
// that it must not wait; a write cannot. A peer that spoils the counter misses the rings that are meant for it.
void Doorbell::ring() const {
    eventfd_t taken = 0;
    const iovec place{&taken, sizeof taken};
    if (::preadv2(m_bell.get(), &place, 1, -1, RWF_NOWAIT) < 0 && errno == EOPNOTSUPP)
        (void)::eventfd_write(m_bell.get(), 0);  // older kernels: it wakes too, and finds room unless that was spoiled
}

}  // namespace comm::transport
