#pragma once

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <optional>

#include "../Transport.h"
#include "../common/Identity.h"
#include "../common/InstanceLock.h"
#include "CallQueue.h"
#include "Guid.h"
#include "ReaderEvents.h"
#include "Registration.h"
#include "Signal.h"

namespace comm::transport {

class DdsTransport;

/// A registration: a reader of calls in a partition of its own. A writer that matches the reader is a connection.
///
/// Calls are reported on the engine's thread that has received them, so that there is no further thread between the
/// network and the stub. What may take longer, the coming and going of connections, is reported on a dispatch thread,
/// and so are calls that come on a thread of this process that is just sending, or while the dispatch thread has the
/// turn. The dispatch thread also deletes the reader in the end.
class DdsListener final : public Listener, public std::enable_shared_from_this<DdsListener>, private ReaderEvents {
  public:
    /// `transport` must outlive the listener and its thread.
    DdsListener(DdsTransport& transport, const TrackedBase::IdentityArgs& identity,
                std::shared_ptr<ListenerEvents> events);

    /// Makes it known and starts its thread. True on failure, with the reason in the error storage.
    bool open();

    void close() override;

  private:
    struct Origin {
        Guid writer;
        Guid participant;
        bool isClosed;  // its link is, and it stays until its calls have arrived
    };
    struct Connection {
        Guid writer;
        std::uint64_t lastCall;  // that was reported
    };
    using Writers = std::map<dds_instance_handle_t, Origin>;

    bool publish();
    bool isTakenElsewhere() const;
    void withdraw();
    void callsCame(dds_entity_t reader) override;
    void writersChanged() override;
    void run();
    void serve();
    bool dispatchCalls();
    void dispatch(const CallQueue::Call& call);
    void reportConnected(dds_instance_handle_t writer);
    void followWriters();
    void reportHeldBack(const Writers& matched);
    bool isEarly(dds_instance_handle_t writer, const Writers& matched) const;
    void reportGone(const Writers& matched);
    bool hasWaitingCalls(dds_instance_handle_t writer) const;
    std::optional<Origin> originOf(dds_instance_handle_t writer) const;
    Connection connectionOf(dds_instance_handle_t writer) const;
    void remember(const Connection& gone);
    Writers matchedWriters() const;

    DdsTransport& m_transport;
    const Identity m_identity;
    const std::shared_ptr<const RuntimeDirectory> m_directory;
    const Registration m_registration;
    InstanceLock m_lock;
    std::atomic<bool> m_closed{false};
    std::atomic<bool> m_writersChanged{false};
    Signal m_signal;  // of the dispatch thread
    CallQueue m_queue;
    Entity m_reader;  // from the withdrawal on the dispatch thread's own
    std::shared_ptr<ListenerEvents> m_events;

    // What follows belongs to the thread that has the turn.
    CallQueue::Calls m_calls;
    std::size_t m_next = 0;  // of them
    const util::UInt8ArrayPtr m_noArray;
    std::map<dds_instance_handle_t, Connection> m_connections;  // that were reported
    CallQueue::Calls m_heldBack;                                // of writers that come too early
    std::deque<Connection> m_gone;
};

}  // namespace comm::transport
