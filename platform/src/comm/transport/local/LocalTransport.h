#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "../Transport.h"
#include "DirectoryWatch.h"
#include "Doorbell.h"
#include "Epoll.h"
#include "LocalContext.h"
#include "RetryPause.h"
#include "ipl/vector.h"
#include "util/Thread.h"

namespace comm::transport {

class LocalLink;
class LocalListener;

/// The transport within one machine: Unix-domain sockets in a private directory to meet,
/// and shared memory to talk.
///
/// Its thread waits for registrations to appear, follows the links' connections, sends on what found no room at once,
/// gives back the memory that a burst has left behind, tries again what failed for a while, and restores what somebody
/// has removed from the directory. It sleeps while nothing happens.
class LocalTransport final : public Transport, private util::Thread::Runnable {
  public:
    using Clock = std::chrono::steady_clock;

    LocalTransport();
    ~LocalTransport() override;

    bool start() override;
    void stop() override;
    ipl::string description() const override;
    std::shared_ptr<Listener> listen(const TrackedBase::IdentityArgs& identity,
                                     std::shared_ptr<ListenerEvents> events) override;
    std::shared_ptr<Link> link(const TrackedBase::IdentityArgs& identity, std::shared_ptr<LinkEvents> events) override;

    /// For the links. What happens to a link is reported to it until it is removed. True on failure, with the reason in
    /// the error storage.
    [[nodiscard]] bool add(std::shared_ptr<LocalLink> link);
    void remove(std::uint64_t number);
    /// Watches a link's socket for what comes from the other side. True on failure, with the reason in the error
    /// storage.
    [[nodiscard]] bool watch(int fd, std::uint64_t number);
    /// Calls `attend` of each link at that time, or before.
    void attendAt(Clock::time_point time);
    std::uint64_t nextNumber() { return m_nextNumber++; }
    std::shared_ptr<const RuntimeDirectory> directory() const { return m_context.directory.get(); }
    Warnings& warnings() { return m_context.warnings; }

  private:
    static constexpr std::uint64_t DirectoryChanged = 1;
    static constexpr std::uint64_t SomethingIsDue = 2;

    void run(util::Thread const* thread) override;
    int untilDue();
    void attend();
    void handleDirectory();
    bool followDirectory();
    void checkDirectory();
    void warn(const ipl::string& text);
    void restoreNames(const ipl::string& fileName);
    void reportAppeared(const ipl::string& fileName);
    ipl::vector<std::shared_ptr<LocalLink>> links();
    ipl::vector<std::shared_ptr<LocalListener>> listeners();
    std::shared_ptr<LocalLink> find(std::uint64_t number);
    void forget(const LocalListener& listener);

    LocalContext m_context;
    Epoll m_epoll;
    DirectoryWatch m_directoryWatch;
    Doorbell m_dueBell;
    util::Thread m_thread;
    std::atomic<std::uint64_t> m_nextNumber{SomethingIsDue + 1};
    std::atomic<bool> m_checkDirectory{false};  // when the next thing is due

    // The transport's thread's own.
    std::shared_ptr<const RuntimeDirectory> m_followed;
    RetryPause m_directoryPause;
    bool m_directoryIsMissing = false;
    bool m_namesAreLost = false;  // of a listener, and to be taken again when the next thing is due

    // Guards what follows. Nothing else is locked under it.
    std::mutex m_mutex;
    bool m_running = false;
    std::optional<Clock::time_point> m_dueAt;
    std::map<std::uint64_t, std::shared_ptr<LocalLink>> m_links;
    std::map<const LocalListener*, std::weak_ptr<LocalListener>> m_listeners;
};

}  // namespace comm::transport
