#pragma once

#include <sys/stat.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

#include "../Transport.h"
#include "../common/FileDescriptor.h"
#include "../common/Identity.h"
#include "../common/Outbox.h"
#include "RingWriter.h"

namespace comm::transport {

class LocalTransport;

/// A proxy's connection to a registration, made anew whenever the registration comes back.
class LocalLink final : public Link, public std::enable_shared_from_this<LocalLink> {
  public:
    /// `transport` must outlive the link's use, `events` lives until the link is closed.
    LocalLink(LocalTransport& transport, const TrackedBase::IdentityArgs& identity, LinkEvents& events);

    bool open() override;
    bool send(const Message& message) override;
    void close() override;

    /// For the transport's thread: a registration has appeared under this file name, or any if it is empty; the link's
    /// socket has something to tell.
    void appeared(const ipl::string& fileName);
    void ready();
    /// Gives memory back that was not needed since the last call, and tries again what found none. True if there will
    /// be something of the kind to do later.
    bool tidy();

    /// The link's number among the transport's.
    std::uint64_t number() const { return m_number; }

  private:
    // Which registration it is: a file's number and when it got its name.
    struct Stamp {
        ino_t inode = 0;
        timespec named{};
        bool operator==(const Stamp& other) const {
            return inode == other.inode && named.tv_sec == other.named.tv_sec && named.tv_nsec == other.named.tv_nsec;
        }
    };

    bool look();
    Stamp currentStamp() const;
    bool connectSocket(bool& absent, FileDescriptor& socket) const;
    bool use(FileDescriptor socket);
    bool makeRing(FileDescriptor socket);
    bool greet();
    bool hasEnded();
    bool lose();
    void flush();
    void drop();
    bool keep(const Outgoing& call);
    void spoiled(const char* fault);
    void giveUp();

    LocalTransport& m_transport;
    const Identity m_identity;
    const std::uint64_t m_number;
    std::atomic<bool> m_closed{false};

    // Held while the link connects, tells an event, or is closed: so there is one attempt at a time, and when `close`
    // returns no event runs. Recursive, because an event may close the link. Taken before `m_mutex`.
    std::recursive_mutex m_telling;
    LinkEvents* m_events;
    Stamp m_stamp;

    // Guards what follows: the connection and what waits for it. Held while a message is handed over.
    std::mutex m_mutex;
    FileDescriptor m_socket;
    std::optional<RingWriter> m_ring;  // as long as there is a socket
    FileDescriptor m_file;             // of the ring, until it is handed over
    Outbox m_outbox;
    bool m_up = false;
};

}  // namespace comm::transport
