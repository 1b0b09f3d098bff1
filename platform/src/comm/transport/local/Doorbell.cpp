#include "Doorbell.h"

#include <sys/eventfd.h>

#include <array>
#include <string_view>

#include "../common/SystemError.h"

namespace comm::transport {

bool Doorbell::create() {
    m_bell = FileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    return !m_bell && failed("eventfd", __FILE__, __LINE__);
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

void Doorbell::ring() const {
    // Fails only when the count of rings is full, and then it has rung already.
    (void)::eventfd_write(m_bell.get(), 1);
}

}  // namespace comm::transport
