#include "DdsListener.h"

#include <algorithm>
#include <vector>

#include "DdsTransport.h"
#include "comm/Error.h"

namespace comm::transport {

DdsListener::DdsListener(DdsTransport& transport, const TrackedBase::IdentityArgs& identity,
                         std::shared_ptr<ListenerEvents> events)
    : m_transport(transport),
      m_identity(identity),
      m_directory(transport.directory()),
      m_registration(Registration::ofThisProcess(m_identity, transport.engine().newName(), *m_directory)),
      m_events(std::move(events)) {}

bool DdsListener::open() {
    if (m_lock.take(m_directory, m_identity, m_transport.lockScope())) return true;
    if (!isTakenElsewhere() && !publish()) return false;
    m_lock.release();
    return true;
}

bool DdsListener::isTakenElsewhere() const {
    m_transport.registrations().update();
    const auto other = m_transport.registrations().find(m_registration.key());
    if (!other || other->sharesPlaceWith(m_registration)) return false;
    return error::record(Error::InstanceTaken, m_identity.display + " is registered by " + other->owner, __FILE__,
                         __LINE__);
}

// True on failure.
bool DdsListener::publish() {
    m_reader = m_transport.engine().createReader(m_registration.name, m_registration.description(), *this);
    if (!m_reader) return true;
    const ipl::string name = "dispatch_" + std::to_string(m_identity.key.instance);
    if (!m_transport.dispatchThreads().start(name, [self = shared_from_this()] { self->run(); })) return false;
    m_events->turn().end();
    withdraw();
    m_transport.disposal().add(std::move(m_reader), [self = shared_from_this()] {});
    return true;
}

// Withdrawn before the lock is released, since whoever takes the lock of a registration that is not is believed to have
// replaced a killed one.
void DdsListener::close() {
    withdraw();
    m_closed = true;
    m_signal.raise();
}

// To delete the reader would take until the engine's threads have returned from all callbacks, also from one that waits
// for the calling thread. So the reader says that it is withdrawn, and is deleted later.
void DdsListener::withdraw() {
    if (!Engine::describe(m_reader, m_registration.withdrawnDescription())) m_lock.release();
}

void DdsListener::callsCame(dds_entity_t reader) {
    CallbackTurn& turn = m_events->turn();
    if (turn.ended()) return;
    m_queue.take(reader);
    if (!Engine::isWriting() && turn.tryEnter()) {
        const bool complete = dispatchCalls();
        turn.leave();
        if (complete) return;
    }
    m_signal.raise();
}

void DdsListener::writersChanged() {
    m_writersChanged = true;
    m_signal.raise();
}

// No callback runs any more once the reader is deleted, so its events can go.
void DdsListener::run() {
    CallbackTurn& turn = m_events->turn();
    while (!m_closed) {
        m_signal.wait();
        m_signal.clear();
        if (!turn.enter()) continue;
        serve();
        turn.leave();
    }
    m_reader.reset();
    m_events.reset();
    m_lock.release();
}

// The first call of a writer may come before the news of its match.
void DdsListener::serve() {
    do {
        if (m_writersChanged.exchange(false)) followWriters();
        if (!dispatchCalls()) m_writersChanged = true;
    } while (m_writersChanged && !m_events->turn().ended());
}

// Reports the calls that wait, in order; false when the next one is of a writer that was not reported.
bool DdsListener::dispatchCalls() {
    for (; !m_events->turn().ended(); ++m_next) {
        if (m_next == m_calls.size()) {
            m_next = 0;
            if (!m_queue.exchange(m_calls)) return true;
        }
        if (!m_connections.contains(m_calls[m_next].writer)) return false;
        dispatch(m_calls[m_next]);
    }
    return true;
}

// A writer that was believed to be dead, and comes back without knowing it, repeats itself.
void DdsListener::dispatch(const CallQueue::Call& call) {
    std::uint64_t& last = m_connections.at(call.writer).lastCall;
    if (call.number <= last) return;
    last = call.number;
    m_events->received({call.withArray ? call.array : m_noArray, call.handleSize});
}

void DdsListener::reportConnected(dds_instance_handle_t writer) {
    if (m_events->turn().ended() || m_connections.contains(writer)) return;
    m_connections.emplace(writer, connectionOf(writer));
    m_events->connected();
    std::erase_if(m_heldBack, [&](const CallQueue::Call& call) {
        if (call.writer != writer) return false;
        if (!m_events->turn().ended()) dispatch(call);
        return true;
    });
}

// A writer is reported as disconnected after its last call, and before the next one is reported as connected. One that
// came and went unnoticed is known only by its queued calls. All calls of a writer are queued once it matches no more.
void DdsListener::followWriters() {
    Writers matched = matchedWriters();
    while (!dispatchCalls()) {
        matched = matchedWriters();
        reportGone(matched);
        reportHeldBack(matched);
        if (isEarly(m_calls[m_next].writer, matched))
            m_heldBack.push_back(std::move(m_calls[m_next++]));
        else
            reportConnected(m_calls[m_next].writer);
    }
    reportGone(matched);
    reportHeldBack(matched);
    for (const auto& [writer, origin] : matched)
        if (!isEarly(writer, matched)) reportConnected(writer);
}

// Some of them may have gone again.
void DdsListener::reportHeldBack(const Writers& matched) {
    while (!m_heldBack.empty() && !m_events->turn().ended() && !isEarly(m_heldBack.front().writer, matched)) {
        reportConnected(m_heldBack.front().writer);
        reportGone(matched);
    }
}

// Whether a new writer waits until others have gone whose links are closed: one that comes after such an end, from
// whichever process, is not reported before it. Of a closed one that is new itself it is not known whether it came
// before one that is closed or has gone as well.
bool DdsListener::isEarly(dds_instance_handle_t writer, const Writers& matched) const {
    const auto own = matched.find(writer);
    const bool isOpen = own != matched.end() && !own->second.isClosed;
    return !m_connections.contains(writer) && std::ranges::any_of(matched, [&](const auto& other) {
        return other.first != writer && other.second.isClosed && (isOpen || m_connections.contains(other.first));
    });
}

void DdsListener::reportGone(const Writers& matched) {
    std::vector<dds_instance_handle_t> gone;
    for (const auto& [writer, connection] : m_connections)
        if (!matched.contains(writer) && !hasWaitingCalls(writer)) gone.push_back(writer);
    for (const dds_instance_handle_t writer : gone) {
        if (m_events->turn().ended()) return;
        remember(m_connections.at(writer));
        m_connections.erase(writer);
        m_events->disconnected();
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
    const Origin origin{guidOf(data->key), guidOf(data->participant_key),
                        Discovery::userDataOf(*data) == Engine::ClosedWriter};
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
        Writers writers;
        for (const dds_instance_handle_t writer : handles)
            if (const auto origin = originOf(writer);
                origin && !m_transport.registrations().isKilled(origin->participant))
                writers.emplace(writer, *origin);
        return writers;
    }
}

}  // namespace comm::transport
