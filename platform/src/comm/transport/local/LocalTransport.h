#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>

#include "../Transport.h"
#include "../common/RuntimeDirectory.h"
#include "Doorbell.h"
#include "Epoll.h"
#include "ipl/vector.h"
#include "util/Thread.h"

namespace comm::transport {

class LocalLink;

/// The transport within one machine: Unix-domain sockets in a private directory to meet,
/// and shared memory to talk.
///
/// Its thread waits for registrations to appear, follows the links' connections, sends on what found no room at once,
/// and gives back the memory that a burst has left behind. It sleeps while nothing happens.
class LocalTransport final : public Transport, private util::Thread::Runnable {
  public:
    LocalTransport();
    ~LocalTransport() override;

    bool start() override;
    void stop() override;
    ipl::string description() const override;
    std::shared_ptr<Listener> listen(const TrackedBase::IdentityArgs& identity,
                                     std::shared_ptr<ListenerEvents> events) override;
    std::shared_ptr<Link> link(const TrackedBase::IdentityArgs& identity, LinkEvents& events) override;

    /// For the links. What happens to a link is told to it until it is removed. True on failure, with the reason in the
    /// error storage.
    bool add(std::shared_ptr<LocalLink> link);
    void remove(std::uint64_t number);
    /// Watches a link's socket for what comes from the other side.
    bool watch(int fd, std::uint64_t number);
    /// A link holds memory that is to be given back when it is not needed for a while.
    void tidyLater() {
        if (!m_tidying.load(std::memory_order_relaxed) && !m_tidying.exchange(true)) m_tidyBell.ring();
    }
    std::uint64_t nextNumber() { return m_nextNumber++; }
    const RuntimeDirectory& directory() const { return m_directory; }

  private:
    static constexpr std::uint64_t DirectoryChanged = 1;
    static constexpr std::uint64_t SomethingToTidy = 2;
    static constexpr int TidyAfter = 1000;  // milliseconds

    bool watchDirectory();
    void run(util::Thread const* thread) override;
    void readDirectoryChanges();
    void tellAppeared(const ipl::string& fileName);
    void tidy();
    ipl::vector<std::shared_ptr<LocalLink>> links();
    std::shared_ptr<LocalLink> find(std::uint64_t number);
    void keep(std::unique_ptr<util::Thread> thread);

    RuntimeDirectory m_directory;
    Epoll m_epoll;
    FileDescriptor m_changes;
    Doorbell m_tidyBell;
    std::atomic<bool> m_tidying{false};
    util::Thread m_thread;
    std::atomic<std::uint64_t> m_nextNumber{SomethingToTidy + 1};

    // Guards what follows. Nothing else is locked under it.
    std::mutex m_mutex;
    bool m_running = false;
    std::map<std::uint64_t, std::shared_ptr<LocalLink>> m_links;
    // Dispatch threads that ended inside their own callbacks.
    ipl::vector<std::unique_ptr<util::Thread>> m_ended;
};

}  // namespace comm::transport
