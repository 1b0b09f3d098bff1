#pragma once

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <thread>

#include "EventLog.h"
#include "FileDescriptor.h"
#include "Greeting.h"
#include "Identity.h"
#include "RingReader.h"
#include "RingWriter.h"
#include "RuntimeDirectory.h"
#include "TestService.h"

namespace comm::transport {

/// Waits for something that shows only when it is looked at; false when it does not come true.
template <class Condition>
bool becomesTrue(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + Watchdog;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

/// As `waitUntilAlive`, but not for ever.
inline bool becomesAlive(const Proxy& proxy) {
    return becomesTrue([&] { return proxy.isAlive(); });
}

/// Waits until it is readable; false when it does not become so.
inline bool becomesReadable(const FileDescriptor& file) {
    pollfd readable{file.get(), POLLIN, 0};
    return ::poll(&readable, 1, static_cast<int>(std::chrono::milliseconds(Watchdog).count())) == 1;
}

/// A client of a registration that the test plays on the wire. It is made with all its descriptors, so it can connect
/// when there are no more.
class PlayedClient {
  public:
    explicit PlayedClient(std::uint32_t instance) : m_identity(TestIdentity(instance).args()) {
        RingMemory memory;
        Doorbell bell;
        if (m_directory.open() || memory.create(m_file) || bell.create()) std::abort();
        if (m_shared.adopt(m_file) != nullptr) std::abort();
        ring.emplace(std::move(memory), std::move(bell));
        if (ring->prepare()) std::abort();
    }

    /// Without waiting. False if it fails, with the reason in `errno`.
    bool connect() {
        const sockaddr_un address = m_directory.address(m_identity.fileName);
        return ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    bool greet() {
        return !Greeting::send(socket.get(), GreetingBody(m_identity), m_file.get(), ring->doorbell().fd());
    }

    /// The beginning of a call the rest of which never comes.
    void callInPart() {
        const RecordHeader record{MaxPiece + 1, RecordHeader::LongCall, 0};
        const RingPosition tail = m_shared.control().tail;
        std::memcpy(m_shared.ring() + tail.offset, &record, sizeof record);
        m_shared.control().tail.store({tail.offset + recordSize(0), tail.generation});
        ring->doorbell().ring();
    }
    /// Says that no new calls will come.
    void leave() { ::shutdown(socket.get(), SHUT_WR); }

    FileDescriptor socket{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    std::optional<RingWriter> ring;

  private:
    const Identity m_identity;
    RuntimeDirectory m_directory;
    FileDescriptor m_file;
    RingMemory m_shared;
};

/// A registration that the test plays on the wire.
class PlayedService {
  public:
    /// Can be found when it is made, in the place of another one of the same identity. One more than `backlog` clients
    /// may wait for it.
    explicit PlayedService(std::uint32_t instance, int backlog = 8) : m_identity(TestIdentity(instance).args()) {
        if (m_directory.open()) std::abort();
        const std::string unfinished = "unfinished";
        const sockaddr_un address = m_directory.address(unfinished);
        if (::bind(m_listening.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(m_listening.get(), backlog) != 0 ||
            ::renameat(m_directory.fd(), unfinished.c_str(), m_directory.fd(), m_identity.fileName.c_str()) != 0)
            std::abort();
    }
    ~PlayedService() { m_directory.remove(m_identity.fileName); }
    PlayedService(const PlayedService&) = delete;
    PlayedService& operator=(const PlayedService&) = delete;

    /// Accepts the next connection and its greeting; false if it ends without one.
    bool accept() {
        if (!becomesReadable(m_listening)) return false;
        socket = FileDescriptor(::accept4(m_listening.get(), nullptr, nullptr, SOCK_CLOEXEC));
        const char* fault = nullptr;
        return becomesReadable(socket) && greeting.receive(socket.get(), fault) == Greeting::Result::Complete &&
               memory.adopt(greeting.memory) == nullptr;
    }

    FileDescriptor socket;  ///< of the connection that was accepted last
    Greeting greeting;
    RingMemory memory;

  private:
    const Identity m_identity;
    RuntimeDirectory m_directory;
    FileDescriptor m_listening{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
};

}  // namespace comm::transport
