#pragma once

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>

#include "../Transport.h"
#include "../common/Identity.h"
#include "../common/InstanceLock.h"
#include "CallQueue.h"
#include "Guid.h"
#include "ReaderEvents.h"
#include "Signal.h"
#include "util/Thread.h"

namespace comm::transport {

class DdsTransport;
struct Registration;

/// A registration: a reader of calls in a partition of its own. A writer that matches the reader is a connection.
///
/// Calls are told on the engine's thread that has received them, so that there is no further thread between the network
/// and the stub. What may take longer, the coming and going of connections, is told on a dispatch thread, and so are
/// calls that come on a thread of this process that is just sending.
class DdsListener final : public Listener,
                          public std::enable_shared_from_this<DdsListener>,
                          private ReaderEvents,
                          private util::Thread::Runnable {
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
    };
    struct Connection {
        Guid writer;
        std::uint64_t lastCall;  // that was told
    };
    using Writers = std::set<dds_instance_handle_t>;

    bool isTakenElsewhere(const Registration& mine) const;
    void callsCame(dds_entity_t reader) override;
    void writersChanged() override;
    void run(util::Thread const* thread) override;
    void serve();
    bool dispatchCalls();
    void dispatch(const CallQueue::Call& call);
    void meet(dds_instance_handle_t writer);
    void followWriters();
    void seeOff(const Writers& matched);
    bool hasWaitingCalls(dds_instance_handle_t writer) const;
    std::optional<Origin> originOf(dds_instance_handle_t writer) const;
    Connection connectionOf(dds_instance_handle_t writer) const;
    void remember(const Connection& gone);
    Writers matchedWriters() const;
    bool isOfKilled(dds_instance_handle_t writer) const;

    DdsTransport& m_transport;
    const Identity m_identity;
    InstanceLock m_lock;
    std::atomic<bool> m_closing{false};
    std::atomic<bool> m_writersChanged{false};
    Signal m_signal;  // of the dispatch thread
    CallQueue m_queue;
    Entity m_reader;
    std::unique_ptr<util::Thread> m_thread;
    std::shared_ptr<DdsListener> m_self;  // the dispatch thread's, until it runs

    // Held by the thread that tells events, and guards what it uses.
    std::mutex m_turn;
    std::shared_ptr<ListenerEvents> m_events;
    CallQueue::Calls m_calls;
    std::size_t m_next = 0;  // of them
    const util::UInt8ArrayPtr m_noArray;
    std::map<dds_instance_handle_t, Connection> m_connections;  // that were told
    std::deque<Connection> m_gone;
};

}  // namespace comm::transport
