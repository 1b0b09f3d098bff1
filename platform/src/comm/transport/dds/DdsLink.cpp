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

DdsLink::DdsLink(DdsTransport& transport, const TrackedBase::IdentityArgs& identity, std::shared_ptr<LinkEvents> events)
    : m_transport(transport),
      m_identity(identity),
      m_key(Registration::keyOf(m_identity)),
      m_events(std::move(events)) {}

bool DdsLink::open() {
    if (begin()) return true;
    connectToTheLiving();
    followInTurn();
    if (isPending()) m_transport.signal().raise();
    return false;
}

// Makes the transport follow it, until it is closed. True on failure.
bool DdsLink::begin() {
    const Lock lock(m_mutex);
    if (m_closed)
        return error::record(Error::NotConnected, m_identity.display + " was disconnected", __FILE__, __LINE__);
    m_opened = !m_transport.add(shared_from_this());
    return !m_opened;
}

// What lives may still be on its way to this process. Above all this is so for the registration that a client makes
// just before it connects, and to which its service replies at once.
void DdsLink::connectToTheLiving() {
    constexpr std::chrono::milliseconds AtMost{500};
    const auto end = Clock::now() + AtMost;
    followOnce();
    while (!isConnecting() && !m_closed && Clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        m_transport.registrations().update();
        followOnce();
    }
}

bool DdsLink::isConnecting() {
    const Lock lock(m_mutex);
    return static_cast<bool>(m_writer);
}

bool DdsLink::follow() {
    if (m_follows.fetch_add(1) == 0) followInTurn();
    return isPending();
}

void DdsLink::followInTurn() {
    for (unsigned follows = 0; !m_follows.compare_exchange_strong(follows, 0);) {
        follows = m_follows;
        followOnce();
    }
}

void DdsLink::followOnce() {
    if (lose()) report(&LinkEvents::down);
    if (connect()) {
        ipl::string reason = ipl::ErrorStorage::reason();
        ipl::ErrorStorage::ack();
        if (m_failures.admit(reason)) warn(reason, "followOnce");
    }
    if (rise()) report(&LinkEvents::up);
}

void DdsLink::report(void (LinkEvents::*event)()) {
    std::shared_ptr<LinkEvents> events;
    {
        const Lock lock(m_mutex);
        events = m_events;
    }
    if (events != nullptr) (events.get()->*event)();
}

// Gives a connection up that has come to its end. True if it was up.
bool DdsLink::lose() {
    const Lock lock(m_mutex);
    if (!m_writer) return false;
    const bool wasUp = m_up || m_givenUp;
    if (m_givenUp) m_refused = m_name;
    if (!m_givenUp && m_transport.registrations().isAlive(m_name) && (isMatched() || !wasUp)) return false;
    drop();
    return wasUp;
}

// Makes a writer for the newest registration if there is none. True on failure, after which it is tried again later.
bool DdsLink::connect() {
    constexpr std::chrono::milliseconds Pause{100};
    const Lock lock(m_mutex);
    if (m_closed || m_writer || Clock::now() < m_retryAt) return false;
    m_retryAt = {};
    const auto registration = m_transport.registrations().find(m_key);
    if (!registration || registration->name == m_refused || m_transport.hasPredecessor(*this)) return false;
    m_name = registration->name;
    m_writer = m_transport.engine().createWriter(m_name, m_transport.signal());
    m_written = 0;
    m_madeAt = Clock::now();
    m_owner = registration->owner;
    if (!m_writer) m_retryAt = m_madeAt + Pause;
    return !m_writer;
}

// True if it is up from now on.
bool DdsLink::rise() {
    const Lock lock(m_mutex);
    if (m_up || m_givenUp || m_closed || !m_writer || !isMatched()) return false;
    m_up = true;
    return true;
}

// Sends what waits, as far as there is room. True if anything is left to do that no signal announces.
bool DdsLink::isPending() {
    ipl::string mismatch;
    const bool waits = waitsForMatch(mismatch);
    if (!mismatch.empty()) warn(mismatch, "isPending");
    return flush() || waits;
}

// A discovered reader normally matches at once; otherwise it is leaving or its type differs. True while that is
// undecided, or a writer is to be made again.
bool DdsLink::waitsForMatch(ipl::string& mismatch) {
    constexpr std::chrono::milliseconds LongEnough{500};
    const Lock lock(m_mutex);
    if (!m_closed && !m_writer) return m_retryAt != Clock::time_point();
    if (m_up || m_closed || m_owner.empty() || isMatched()) return false;
    if (Clock::now() - m_madeAt < LongEnough) return true;
    mismatch = m_identity.display + " is registered by " + std::exchange(m_owner, {}) +
               ", whose calls are of another kind: it runs another version";
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

// The transport's thread reports the connection's end. The mutex is held.
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
    std::shared_ptr<LinkEvents> events;  // released after the mutex
    const Lock lock(m_mutex);
    if (m_closed.exchange(true)) return;
    m_up = false;
    events.swap(m_events);
    if (!m_opened) return;
    // Who connects next is to wait for this end at the receiver. Without that it is just not held back.
    if (m_writer) (void)Engine::describe(m_writer, Engine::ClosedWriter);
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
