#include "DdsListener.h"

#include <algorithm>
#include <vector>

#include "DdsTransport.h"
#include "comm/Error.h"

namespace comm::transport {
namespace {

// Whose events this thread is telling.
thread_local const DdsListener* telling = nullptr;

}  // namespace

DdsListener::DdsListener(DdsTransport& transport, const TrackedBase::IdentityArgs& identity,
                         std::shared_ptr<ListenerEvents> events)
    : m_transport(transport), m_identity(identity), m_events(std::move(events)) {}

bool DdsListener::open() {
    if (m_lock.take(m_transport.directory(), m_identity, m_transport.lockScope())) return true;
    util::Thread::Runnable& runnable = *this;
    m_thread =
        std::make_unique<util::Thread>(runnable, "dispatch_" + std::to_string(m_identity.key.instance), false, 0);
    // The thread keeps this object, as it may be closed from one of its own callbacks.
    m_self = shared_from_this();
    const auto mine = Registration::ofThisProcess(m_identity, m_transport.engine().newName(), m_transport.directory());
    if (!isTakenElsewhere(mine)) {
        m_reader = m_transport.engine().createReader(mine.name, mine.description(), *this);
        if (m_reader && !m_thread->start()) return false;
    }
    m_self.reset();
    m_reader.reset();
    m_lock.release();
    return true;
}

bool DdsListener::isTakenElsewhere(const Registration& mine) const {
    m_transport.registrations().update();
    const auto other = m_transport.registrations().find(mine.key());
    if (!other || other->sharesPlaceWith(mine)) return false;
    return error::record(Error::InstanceTaken, m_identity.display + " is registered by " + other->owner, __FILE__,
                         __LINE__);
}

void DdsListener::close() {
    m_closing = true;
    m_signal.raise();
    if (telling == this) {
        m_transport.keep(std::move(m_thread));
    } else {
        (void)m_thread->join();               // it runs, so it can be joined
        const std::scoped_lock turn(m_turn);  // after a thread of the engine that is telling a call
    }
    m_transport.disposal().add(std::move(m_reader), [self = shared_from_this()] {});
    m_lock.release();
}

void DdsListener::callsCame(dds_entity_t reader) {
    if (m_closing) return;
    m_queue.take(reader);
    if (!Engine::isWriting()) {
        const std::unique_lock turn(m_turn, std::try_to_lock);
        if (turn && dispatchCalls()) return;
    }
    m_signal.raise();
}

void DdsListener::writersChanged() {
    m_writersChanged = true;
    m_signal.raise();
}

void DdsListener::run(util::Thread const* const /*thread*/) {
    const std::shared_ptr<DdsListener> self = std::move(m_self);
    while (!m_closing) {
        m_signal.wait();
        m_signal.clear();
        const std::scoped_lock turn(m_turn);
        serve();
    }
}

// The first call of a writer may come before the news that it is there.
void DdsListener::serve() {
    do {
        if (m_writersChanged.exchange(false)) followWriters();
        if (!dispatchCalls()) m_writersChanged = true;
    } while (m_writersChanged && !m_closing);
}

// Tells the calls that wait, in order; false when the next one is of a writer that was not met.
bool DdsListener::dispatchCalls() {
    for (;; ++m_next) {
        if (m_next == m_calls.size()) {
            m_next = 0;
            if (!m_queue.exchange(m_calls)) return true;
        }
        if (m_closing) continue;
        if (!m_connections.contains(m_calls[m_next].writer)) return false;
        dispatch(m_calls[m_next]);
    }
}

// A writer that was believed to be dead, and comes back without knowing it, repeats itself.
void DdsListener::dispatch(const CallQueue::Call& call) {
    std::uint64_t& last = m_connections.at(call.writer).lastCall;
    if (call.number <= last) return;
    last = call.number;
    telling = this;
    m_events->received({call.withArray ? call.array : m_noArray, call.handleSize});
    telling = nullptr;
}

void DdsListener::meet(dds_instance_handle_t writer) {
    if (m_closing || m_connections.contains(writer)) return;
    m_connections.emplace(writer, connectionOf(writer));
    telling = this;
    m_events->connected();
    telling = nullptr;
}

// Who has gone is seen off after its last call, and before its successor is let in. Who has come and gone already is
// known by its calls alone. All calls of who has gone are there once it does not match any more.
void DdsListener::followWriters() {
    Writers matched = matchedWriters();
    while (!dispatchCalls()) {
        matched = matchedWriters();
        seeOff(matched);
        meet(m_calls[m_next].writer);
    }
    seeOff(matched);
    for (const dds_instance_handle_t writer : matched) meet(writer);
}

void DdsListener::seeOff(const Writers& matched) {
    Writers gone;
    for (const auto& [writer, connection] : m_connections)
        if (!matched.contains(writer) && !hasWaitingCalls(writer)) gone.insert(writer);
    for (const dds_instance_handle_t writer : gone) {
        if (m_closing) return;
        remember(m_connections.at(writer));
        m_connections.erase(writer);
        telling = this;
        m_events->disconnected();
        telling = nullptr;
    }
}

bool DdsListener::hasWaitingCalls(dds_instance_handle_t writer) const {
    for (std::size_t i = m_next; i < m_calls.size(); ++i)
        if (m_calls[i].writer == writer) return true;
    return m_queue.contains(writer);
}

// Nothing if it does not match any more.
std::optional<DdsListener::Origin> DdsListener::originOf(dds_instance_handle_t writer) const {
    dds_builtintopic_endpoint_t* const data = ::dds_get_matched_publication_data(m_reader.handle(), writer);
    if (data == nullptr) return std::nullopt;
    const Origin origin{guidOf(data->key), guidOf(data->participant_key)};
    ::dds_builtintopic_free_endpoint(data);
    return origin;
}

DdsListener::Connection DdsListener::connectionOf(dds_instance_handle_t writer) const {
    const std::optional<Origin> origin = originOf(writer);
    if (!origin) return {};
    const auto before = std::ranges::find(m_gone, origin->writer, &Connection::writer);
    return before == m_gone.end() ? Connection{origin->writer, 0} : *before;
}

void DdsListener::remember(const Connection& gone) {
    constexpr std::size_t Most = 256;
    std::erase_if(m_gone, [&](const Connection& other) { return other.writer == gone.writer; });
    m_gone.push_back(gone);
    if (m_gone.size() > Most) m_gone.pop_front();
}

DdsListener::Writers DdsListener::matchedWriters() const {
    std::vector<dds_instance_handle_t> handles(16);
    for (;;) {
        const dds_return_t count = ::dds_get_matched_publications(m_reader.handle(), handles.data(), handles.size());
        if (count <= 0) return {};
        const bool complete = static_cast<std::size_t>(count) <= handles.size();
        handles.resize(static_cast<std::size_t>(count));
        if (!complete) continue;
        std::erase_if(handles, [this](dds_instance_handle_t writer) { return isOfKilled(writer); });
        return {handles.begin(), handles.end()};
    }
}

bool DdsListener::isOfKilled(dds_instance_handle_t writer) const {
    const std::optional<Origin> origin = originOf(writer);
    return origin && m_transport.registrations().isKilled(origin->participant);
}

}  // namespace comm::transport
