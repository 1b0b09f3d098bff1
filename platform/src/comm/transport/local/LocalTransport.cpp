#include "LocalTransport.h"

#include <sys/resource.h>

#include <algorithm>

#include "../common/SystemError.h"
#include "LocalLink.h"
#include "LocalListener.h"
#include "ipl/ErrorStorage.h"

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
    if (m_context.directory.open() || m_epoll.open() || m_directoryWatch.open() || followDirectory() ||
        m_epoll.set(m_directoryWatch.fd(), DirectoryChanged, EPOLLIN) || m_dueBell.create() ||
        m_epoll.set(m_dueBell.fd(), SomethingIsDue, Doorbell::Events))
        return true;
    m_running = true;
    return m_thread.start();
}

void LocalTransport::stop() {
    decltype(m_links) links;
    {
        const std::scoped_lock lock(m_mutex);
        m_running = false;
    }
    m_epoll.wakeUp();
    (void)m_thread.join();  // it was started, and this is another one
    m_context.threads.joinAll();
    const std::scoped_lock lock(m_mutex);
    links.swap(m_links);
}

ipl::string LocalTransport::description() const {
    return "local transport in " + directory()->path();
}

std::shared_ptr<Listener> LocalTransport::listen(const TrackedBase::IdentityArgs& identity,
                                                 std::shared_ptr<ListenerEvents> events) {
    switch (m_context.directory.refresh()) {
        case CurrentDirectory::Result::Same:
            break;
        case CurrentDirectory::Result::Changed:
            m_checkDirectory = true;
            attendAt(Clock::now());
            break;
        case CurrentDirectory::Result::Failed:
            return nullptr;
    }
    const auto listener = std::make_shared<LocalListener>(m_context, identity, std::move(events),
                                                          [this](const LocalListener& closed) { forget(closed); });
    if (listener->open()) return nullptr;
    const std::scoped_lock lock(m_mutex);
    m_listeners.emplace(listener.get(), listener);
    return listener;
}

std::shared_ptr<Link> LocalTransport::link(const TrackedBase::IdentityArgs& identity,
                                           std::shared_ptr<LinkEvents> events) {
    return std::make_shared<LocalLink>(*this, identity, std::move(events));
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

void LocalTransport::attendAt(Clock::time_point time) {
    {
        const std::scoped_lock lock(m_mutex);
        if (m_dueAt && *m_dueAt <= time) return;
        m_dueAt = time;
    }
    m_dueBell.ring();
}

void LocalTransport::run(util::Thread const* const /*thread*/) {
    for (;;) {
        for (const epoll_event& event : m_epoll.wait(untilDue())) {
            if (event.data.u64 == Epoll::WakeUp) return;
            if (event.data.u64 == DirectoryChanged)
                handleDirectory();
            else if (const std::shared_ptr<LocalLink> link = find(event.data.u64))
                link->ready();
        }
        attend();
    }
}

// In milliseconds, rounded up.
int LocalTransport::untilDue() {
    const std::scoped_lock lock(m_mutex);
    if (!m_dueAt) return Epoll::NoLimit;
    const Clock::duration left = std::max(*m_dueAt - Clock::now(), Clock::duration::zero());
    return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(left).count());
}

// However many events come meanwhile, what is due is done in time.
void LocalTransport::attend() {
    const Clock::time_point now = Clock::now();
    {
        const std::scoped_lock lock(m_mutex);
        if (!m_dueAt || *m_dueAt > now) return;
        m_dueAt.reset();
    }
    if (m_checkDirectory.exchange(false)) checkDirectory();
    if (std::exchange(m_namesAreLost, false)) restoreNames("");
    for (const auto& link : links())
        if (const auto next = link->attend(now)) attendAt(*next);
}

void LocalTransport::handleDirectory() {
    const DirectoryWatch::Changes changes = m_directoryWatch.read();
    const bool cleaned = std::ranges::find(changes.removed, RuntimeDirectory::Sentinel) != changes.removed.end();
    if (changes.directoryGone || cleaned) checkDirectory();
    for (const ipl::string& name : changes.removed) restoreNames(name);
    for (const ipl::string& name : changes.appeared) reportAppeared(name);
    if (!changes.overflow) return;
    restoreNames("");
    reportAppeared("");
}

// True on failure, with the reason in the error storage.
bool LocalTransport::followDirectory() {
    std::shared_ptr<const RuntimeDirectory> current = directory();
    if (m_directoryWatch.follow(*current)) return true;
    m_followed = std::move(current);
    return false;
}

// Goes on in another directory where the one that was followed is gone. As long as there is none, it is tried again.
void LocalTransport::checkDirectory() {
    const bool failed = m_context.directory.refresh() == CurrentDirectory::Result::Failed;
    if (!failed && directory() == m_followed) return;
    const ipl::string text = m_followed->path() + " was removed while it was in use; ";
    if (failed || followDirectory()) {
        if (!std::exchange(m_directoryIsMissing, true))
            warn(text + "it is made anew as soon as that is possible: " + ipl::ErrorStorage::reasonText());
        ipl::ErrorStorage::ack();
        m_checkDirectory = true;
        return attendAt(Clock::now() + m_directoryPause.next());
    }
    if (!std::exchange(m_directoryIsMissing, false)) warn(text + "it has been made anew");
    m_directoryPause.reset();
    restoreNames("");
    reportAppeared("");
}

void LocalTransport::warn(const ipl::string& text) {
    m_context.warnings.write(text, text, "checkDirectory", "comm/transport/local/LocalTransport");
}

// Of that name, or all if it is empty.
void LocalTransport::restoreNames(const ipl::string& fileName) {
    constexpr std::chrono::seconds UntilNextTry{1};
    for (const auto& listener : listeners()) {
        if (!fileName.empty() && !listener->mayOwn(fileName)) continue;
        if (listener->restoreNames() == LocalListener::Names::Held) continue;
        m_namesAreLost = true;
        attendAt(Clock::now() + UntilNextTry);
    }
}

void LocalTransport::reportAppeared(const ipl::string& fileName) {
    for (const auto& link : links()) link->appeared(fileName);
}

ipl::vector<std::shared_ptr<LocalLink>> LocalTransport::links() {
    ipl::vector<std::shared_ptr<LocalLink>> links;
    const std::scoped_lock lock(m_mutex);
    for (const auto& [number, link] : m_links) links.push_back(link);
    return links;
}

ipl::vector<std::shared_ptr<LocalListener>> LocalTransport::listeners() {
    ipl::vector<std::shared_ptr<LocalListener>> listeners;
    const std::scoped_lock lock(m_mutex);
    for (const auto& [key, listener] : m_listeners)
        if (auto kept = listener.lock()) listeners.push_back(std::move(kept));
    return listeners;
}

std::shared_ptr<LocalLink> LocalTransport::find(std::uint64_t number) {
    const std::scoped_lock lock(m_mutex);
    const auto found = m_links.find(number);
    return found == m_links.end() ? nullptr : found->second;
}

void LocalTransport::forget(const LocalListener& listener) {
    const std::scoped_lock lock(m_mutex);
    m_listeners.erase(&listener);
}

}  // namespace comm::transport
