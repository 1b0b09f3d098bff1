#include "DdsLink.h"

#include <chrono>
#include <thread>
#include <utility>

#include "../common/Limits.h"
#include "../common/Refusal.h"
#include "DdsTransport.h"
#include "comm/Error.h"
#include "ipl/ErrorStorage.h"
#include "ipl/GlobalErrorHandler.h"

namespace comm::transport {
namespace {

void warn(const ipl::string& text, const char* function) {
    ipl::GlobalErrorHandler::doWarning(text.c_str(), function, "comm/transport/dds/DdsLink");
}

}  // namespace

DdsLink::DdsLink(DdsTransport& transport, const TrackedBase::IdentityArgs& identity, LinkEvents& events)
    : m_transport(transport), m_identity(identity), m_key(Registration::keyOf(m_identity)), m_events(&events) {}

bool DdsLink::open() {
    if (m_transport.add(shared_from_this())) return true;
    if (followUntilConnecting()) m_transport.signal().raise();
    return false;
}

// What lives may still be on its way to this process. Above all this is so for the registration that a client makes
// just before it connects, and to which its service replies at once. True if the link has to follow again soon.
bool DdsLink::followUntilConnecting() {
    constexpr std::chrono::milliseconds AtMost{500};
    const auto end = Clock::now() + AtMost;
    bool again = follow();
    while (!isConnecting() && !m_closed && Clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        m_transport.registrations().update();
        again = follow();
    }
    return again;
}

bool DdsLink::isConnecting() {
    const Lock lock(m_mutex);
    return static_cast<bool>(m_writer);
}

bool DdsLink::follow() {
    const std::scoped_lock telling(m_telling);
    if (lose() && m_events != nullptr) m_events->down();
    if (m_events != nullptr && connect()) {
        warn(ipl::ErrorStorage::reason(), "follow");
        ipl::ErrorStorage::ack();
    }
    if (rise() && m_events != nullptr) m_events->up();
    const bool waits = waitsForMatch();
    return flush() || waits;
}

// Gives a connection up that has come to its end; true if its end is to be told.
bool DdsLink::lose() {
    const Lock lock(m_mutex);
    if (!m_writer) return false;
    const bool wasUp = m_up || m_givenUp;
    if (m_givenUp) m_refused = m_name;
    if (!m_givenUp && m_transport.registrations().isAlive(m_name) && (isMatched() || !wasUp)) return false;
    drop();
    return wasUp;
}

// Makes a writer for the newest registration if there is none. True on failure.
bool DdsLink::connect() {
    const Lock lock(m_mutex);
    if (m_writer) return false;
    const auto registration = m_transport.registrations().find(m_key);
    if (!registration || registration->name == m_refused || m_transport.hasPredecessor(*this)) return false;
    m_name = registration->name;
    m_writer = m_transport.engine().createWriter(m_name, m_transport.signal());
    m_written = 0;
    m_madeAt = Clock::now();
    m_owner = registration->owner;
    return !m_writer;
}

// True if the connection is to be told of.
bool DdsLink::rise() {
    const Lock lock(m_mutex);
    if (m_up || m_givenUp || m_closed || !m_writer || !isMatched()) return false;
    m_up = true;
    return true;
}

// Whoever was discovered is met at once, unless he is just leaving or the two do not fit. True while it is too early to
// tell.
bool DdsLink::waitsForMatch() {
    constexpr std::chrono::milliseconds LongEnough{500};
    const Lock lock(m_mutex);
    if (m_up || m_closed || !m_writer || m_owner.empty() || isMatched()) return false;
    if (Clock::now() - m_madeAt < LongEnough) return true;
    warn(m_identity.display + " is registered by " + std::exchange(m_owner, {}) +
             ", whose calls are of another kind: it runs another version",
         "waitsForMatch");
    return false;
}

bool DdsLink::isMatched() const {
    dds_publication_matched_status_t status{};
    return ::dds_get_publication_matched_status(m_writer.handle(), &status) == DDS_RETCODE_OK &&
           status.current_count > 0;
}

bool DdsLink::send(const Message& message) {
    const Outgoing call(message);
    if (call.length > MaxArray) return refusal::tooLong(m_identity, call);
    const Lock lock(m_mutex);
    if (!m_up) return refusal::notAlive(m_identity);
    if (!m_outbox.empty()) return keep(call);
    if (!write(call)) return false;
    m_transport.signal().raise();
    return keep(call);
}

// True if there is no room for it. The mutex is held.
bool DdsLink::write(const Outgoing& call) {
    if (Engine::write(m_writer, m_written + 1, call)) return true;
    ++m_written;
    return false;
}

// Keeps a call until there is room for it; true if it cannot be kept. The mutex is held.
bool DdsLink::keep(const Outgoing& call) {
    if (!m_outbox.append(call) && !m_outbox.full()) return false;
    giveUp();
    return refusal::tooMuchWaits(m_identity);
}

// The transport's thread tells the connection's end. The mutex is held.
void DdsLink::giveUp() {
    m_outbox.clear();
    m_up = false;
    m_givenUp = true;
    m_transport.signal().raise();
}

// Writes what waits, as far as there is room. True if more waits, or a closed link's calls for their receiver.
bool DdsLink::flush() {
    const Lock lock(m_mutex);
    m_outbox.flush([this](const Outgoing& call) { return !write(call); });
    if (!m_closed) return !m_outbox.empty();
    if (!isDrained()) return true;
    leave();
    return false;
}

// Whether all that was sent has arrived, or never will. The mutex is held.
bool DdsLink::isDrained() const {
    return !m_writer || !isMatched() ||
           (m_outbox.empty() && ::dds_wait_for_acks(m_writer.handle(), 0) == DDS_RETCODE_OK);
}

// The mutex is held.
void DdsLink::drop() {
    m_up = false;
    m_givenUp = false;
    m_outbox.clear();
    if (m_writer) m_transport.disposal().add(std::move(m_writer), [] {});
}

// Ends a closed link once its writer is gone. The mutex is held.
void DdsLink::leave() {
    if (std::exchange(m_left, true)) return;
    m_transport.disposal().add(std::move(m_writer), [self = shared_from_this()] { self->m_transport.remove(*self); });
}

void DdsLink::close() {
    if (m_closed.exchange(true)) return;
    const std::scoped_lock telling(m_telling);
    m_events = nullptr;
    const Lock lock(m_mutex);
    m_up = false;
    // What waits is still sent by the transport's thread.
    if (isDrained())
        leave();
    else
        m_transport.signal().raise();
}

void DdsLink::abandon() {
    const Lock lock(m_mutex);
    drop();
}

}  // namespace comm::transport
