#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>

#include "../Transport.h"
#include "../common/InstanceLock.h"
#include "../common/RuntimeDirectory.h"
#include "BriefWait.h"
#include "Connection.h"
#include "Epoll.h"
#include "util/Thread.h"

namespace comm::transport {

/// A registration: a listening socket in the runtime directory, and the dispatch thread that reads its connections.
class LocalListener final : public Listener,
                            public std::enable_shared_from_this<LocalListener>,
                            private util::Thread::Runnable {
  public:
    /// Takes over a thread that is about to end, to join it later.
    using ThreadKeeper = std::function<void(std::unique_ptr<util::Thread>)>;

    /// `directory` must outlive the listener and its thread.
    LocalListener(const RuntimeDirectory& directory, const TrackedBase::IdentityArgs& identity,
                  std::shared_ptr<ListenerEvents> events, ThreadKeeper keeper);

    /// Makes it reachable and starts its thread. True on failure, with the reason in the error storage.
    bool open();

    void close() override;

  private:
    static constexpr std::uint64_t NewConnection = 1;
    static constexpr std::uint64_t DoorbellRang = 2;
    // How many rounds of reading there are at most before the sockets are looked at.
    static constexpr int BusyRounds = 64;

    using Connections = std::map<std::uint64_t, std::unique_ptr<Connection>>;

    bool createSocket();
    void run(util::Thread const* thread) override;
    bool readRings();
    bool readEachRing();
    bool anythingToRead() const;
    bool fallAsleep();
    void wakeUp();
    void serve(std::span<const epoll_event> ready);
    void serveConnection(std::uint64_t number);
    Connections::iterator drop(Connections::iterator connection);
    void accept();
    void dropOne();
    void admit(FileDescriptor socket);

    const RuntimeDirectory& m_directory;
    const Identity m_identity;
    const ThreadKeeper m_keeper;
    InstanceLock m_lock;
    FileDescriptor m_socket;
    Epoll m_epoll;
    std::atomic<bool> m_closing{false};
    std::unique_ptr<util::Thread> m_thread;
    std::shared_ptr<LocalListener> m_self;  // the thread's, until it runs

    // The dispatch thread's own.
    std::shared_ptr<ListenerEvents> m_events;
    Connections m_connections;
    BriefWait m_wait;
    std::uint64_t m_nextConnection = DoorbellRang + 1;
    // Given up for a moment when descriptors run out, to take a connection and refuse it: it would stay ready for ever.
    FileDescriptor m_reserve;
};

}  // namespace comm::transport
