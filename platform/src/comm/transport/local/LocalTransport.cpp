#include "LocalTransport.h"

#include <sys/inotify.h>
#include <sys/resource.h>

#include <algorithm>

#include "../common/SystemError.h"
#include "LocalLink.h"
#include "LocalListener.h"

namespace comm::transport {
namespace {

// Every instance takes a handful of descriptors, and a shell with all its services and clients more than the usual
// limit.
constexpr rlim_t WantedDescriptors = 8192;

void raiseDescriptorLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= WantedDescriptors) return;
    limit.rlim_cur = std::min(limit.rlim_max, WantedDescriptors);
    // Where it cannot be raised, the operation that runs out of descriptors says so.
    (void)::setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

LocalTransport::LocalTransport() : m_thread(*this, "agent", false, 0) {}

LocalTransport::~LocalTransport() = default;

bool LocalTransport::start() {
    raiseDescriptorLimit();
    if (m_directory.open() || m_epoll.open() || watchDirectory() || m_tidyBell.create() ||
        m_epoll.set(m_tidyBell.fd(), SomethingToTidy, EPOLLIN | static_cast<std::uint32_t>(EPOLLET)))
        return true;
    m_running = true;
    return m_thread.start();
}

bool LocalTransport::watchDirectory() {
    m_changes = FileDescriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!m_changes) return failed("inotify_init1 (see fs.inotify.max_user_instances)", __FILE__, __LINE__);
    if (::inotify_add_watch(m_changes.get(), m_directory.path().c_str(), IN_MOVED_TO) < 0)
        return failed("inotify_add_watch " + m_directory.path(), __FILE__, __LINE__);
    return m_epoll.set(m_changes.get(), DirectoryChanged, EPOLLIN);
}

void LocalTransport::stop() {
    {
        const std::scoped_lock lock(m_mutex);
        m_running = false;
    }
    m_epoll.wakeUp();
    // Neither can fail: these threads were started, and this is none of them.
    (void)m_thread.join();
    for (const auto& thread : m_ended) (void)thread->join();
    m_ended.clear();
    m_links.clear();
}

ipl::string LocalTransport::description() const {
    return "local transport in " + m_directory.path();
}

std::shared_ptr<Listener> LocalTransport::listen(const TrackedBase::IdentityArgs& identity,
                                                 std::shared_ptr<ListenerEvents> events) {
    auto listener =
        std::make_shared<LocalListener>(m_directory, identity, std::move(events),
                                        [this](std::unique_ptr<util::Thread> thread) { keep(std::move(thread)); });
    if (listener->open()) return nullptr;
    return listener;
}

std::shared_ptr<Link> LocalTransport::link(const TrackedBase::IdentityArgs& identity, LinkEvents& events) {
    return std::make_shared<LocalLink>(*this, identity, events);
}

bool LocalTransport::add(std::shared_ptr<LocalLink> link) {
    const std::scoped_lock lock(m_mutex);
    if (!m_running) return error::record(Error::NoAgent, "the transport has ended", __FILE__, __LINE__);
    m_links.emplace(link->number(), std::move(link));
    return false;
}

void LocalTransport::remove(std::uint64_t number) {
    std::shared_ptr<LocalLink> removed;  // released after the lock
    const std::scoped_lock lock(m_mutex);
    const auto found = m_links.find(number);
    if (found == m_links.end()) return;
    removed = std::move(found->second);
    m_links.erase(found);
}

bool LocalTransport::watch(int fd, std::uint64_t number) {
    return m_epoll.set(fd, number, EPOLLIN);
}

void LocalTransport::run(util::Thread const* const /*thread*/) {
    for (;;) {
        const std::span<const epoll_event> events = m_epoll.wait(m_tidying ? TidyAfter : Epoll::NoLimit);
        if (events.empty()) tidy();
        for (const epoll_event& event : events) {
            if (event.data.u64 == Epoll::WakeUp) return;
            if (event.data.u64 == DirectoryChanged)
                readDirectoryChanges();
            else if (const std::shared_ptr<LocalLink> link = find(event.data.u64))
                link->ready();
        }
    }
}

void LocalTransport::tidy() {
    m_tidying = false;
    for (const auto& link : links())
        if (link->tidy()) m_tidying = true;
}

void LocalTransport::readDirectoryChanges() {
    alignas(inotify_event) char buffer[4096];
    const ssize_t count = ::read(m_changes.get(), buffer, sizeof buffer);
    for (ssize_t at = 0; at < count;) {
        const auto* change = reinterpret_cast<const inotify_event*>(buffer + at);
        // Where the system has lost changes, any registration may have appeared.
        if (change->len != 0 || (change->mask & IN_Q_OVERFLOW) != 0) tellAppeared(change->len != 0 ? change->name : "");
        at += static_cast<ssize_t>(sizeof *change + change->len);
    }
}

void LocalTransport::tellAppeared(const ipl::string& fileName) {
    for (const auto& link : links()) link->appeared(fileName);
}

ipl::vector<std::shared_ptr<LocalLink>> LocalTransport::links() {
    ipl::vector<std::shared_ptr<LocalLink>> links;
    const std::scoped_lock lock(m_mutex);
    for (const auto& [number, link] : m_links) links.push_back(link);
    return links;
}

std::shared_ptr<LocalLink> LocalTransport::find(std::uint64_t number) {
    const std::scoped_lock lock(m_mutex);
    const auto found = m_links.find(number);
    return found == m_links.end() ? nullptr : found->second;
}

void LocalTransport::keep(std::unique_ptr<util::Thread> thread) {
    const std::scoped_lock lock(m_mutex);
    m_ended.push_back(std::move(thread));
}

}  // namespace comm::transport
