#include "LocalListener.h"

#include <utility>

#include "ipl/ErrorStorage.h"

namespace comm::transport {

LocalListener::LocalListener(LocalContext& context, const TrackedBase::IdentityArgs& identity,
                             std::shared_ptr<ListenerEvents> events, Closed closed)
    : m_context(context),
      m_identity(identity),
      m_closed(std::move(closed)),
      m_dispatcher(context.warnings, m_identity, std::move(events)) {}

// The thread keeps this object, since one of its own callbacks may close it.
bool LocalListener::open() {
    const std::scoped_lock lock(m_mutex);
    if (m_dispatcher.open() || takeNames(m_context.directory.get())) return true;
    const ipl::string name = "dispatch_" + std::to_string(m_identity.key.instance);
    if (!m_context.threads.start(name, [self = shared_from_this()] { self->m_dispatcher.run(); })) return false;
    m_dispatcher.sockets().close();
    m_lock.release();
    return true;
}

// A lock whose file was removed excludes nobody. Another process may have taken the identity since, and then keeps it.
bool LocalListener::takeNames(const std::shared_ptr<const RuntimeDirectory>& directory) {
    const bool locked = m_lock.isCurrentIn(*directory) && directory->isInPlace();
    InstanceLock lock;
    if (!locked && lock.take(directory, m_identity, "")) return true;
    if (m_dispatcher.sockets().add(directory, m_identity)) {
        lock.release();
        return true;
    }
    if (!locked) m_lock = std::move(lock);
    return false;
}

void LocalListener::close() {
    {
        const std::scoped_lock lock(m_mutex);
        m_isClosed = true;
        m_dispatcher.sockets().close();
        m_lock.release();
    }
    m_dispatcher.wakeUp();
    m_closed(*this);
}

bool LocalListener::mayOwn(const ipl::string& fileName) const {
    return fileName.starts_with(m_identity.fileName);
}

LocalListener::Names LocalListener::restoreNames() {
    bool reported = false;
    {
        const std::scoped_lock lock(m_mutex);
        const std::shared_ptr<const RuntimeDirectory> directory = m_context.directory.get();
        if (m_isClosed) return Names::Held;
        const bool held = m_lock.isCurrentIn(*directory) && m_dispatcher.sockets().isCurrentIn(*directory);
        if (held && directory->isInPlace()) return Names::Held;
        const bool lost = takeNames(directory);
        reported = std::exchange(m_lossReported, lost);
        if (!lost) return Names::Held;
    }
    if (!reported)
        m_context.warnings.write(
            "lost name of " + m_identity.display,
            m_identity.display +
                " cannot be reached by new clients, since its files were removed: " + ipl::ErrorStorage::reasonText(),
            "restoreNames", "comm/transport/local/LocalListener");
    ipl::ErrorStorage::ack();
    return Names::Lost;
}

}  // namespace comm::transport
