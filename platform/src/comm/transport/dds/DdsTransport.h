#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "../../configuration/AgentConfiguration.h"
#include "../Transport.h"
#include "../common/CurrentDirectory.h"
#include "../common/DispatchThreads.h"
#include "Disposal.h"
#include "Engine.h"
#include "Registrations.h"
#include "ipl/vector.h"
#include "util/Thread.h"

namespace comm::transport {

class DdsLink;

/// The transport between machines, on a distributed engine that discovers, delivers and watches over life and death.
/// This code only maps: a registration is a reader alone in a partition of that name, a proxy is a writer there, a
/// connection is a match of the two.
///
/// What cannot hold as it does within one machine:
/// - A registration elsewhere takes a moment to be discovered. `open` waits for one for up to half a second.
/// - Whoever is killed, stopped or cut off is believed to live until its lease has run out, unless another process on
///   its machine takes its place before. What it has not received until then is lost, and what a killed process had not
///   sent yet. Who comes back later is a new connection.
/// - An instance is the only one of its kind on its machine at once, but a second one on another machine is refused
///   only after it was discovered; until then there are two, each process that discovers them warns, and whoever is
///   connected stays with the first.
/// - A client's end is reported before the connection of a later client if the news of the two arrive in that order,
///   which packets that get lost may change. While a closed client cannot send the rest of its calls, for at most its
///   lease, new connections wait.
/// - `send` waits for up to 2 ms where the receiver does not keep up, which leaves the flow control to the engine; then
///   it queues.
/// - Calls are reported on the engine's thread that receives them. A callback that waits keeps all other calls to its
///   process waiting, and the engine's deletions: a withdrawn registration says so at once, its reader goes later.
/// - A receiver acknowledges what it has received and not what its user has processed, so its queue has no bound but
///   its memory. The bound of what waits at the sender holds while the receiver is stopped.
/// - The network is trusted: whoever is in the domain gets in.
/// - The engine's threads wake up now and then to tell that they live.
///
/// The transport's thread follows discovery and sends on what the engine had no room for. The latter it tries every
/// millisecond, since the engine does not report when there is room.
class DdsTransport final : public Transport, private util::Thread::Runnable {
  public:
    explicit DdsTransport(AgentConfiguration configuration);
    ~DdsTransport() override;

    bool start() override;
    void stop() override;
    ipl::string description() const override;
    std::shared_ptr<Listener> listen(const TrackedBase::IdentityArgs& identity,
                                     std::shared_ptr<ListenerEvents> events) override;
    std::shared_ptr<Link> link(const TrackedBase::IdentityArgs& identity, std::shared_ptr<LinkEvents> events) override;

    // What follows is for the links and listeners.

    /// A link follows whatever changes until it is removed. True on failure, with the reason in the error storage.
    bool add(std::shared_ptr<DdsLink> link);
    void remove(const DdsLink& link);
    /// Whether a closed link to the same registrations has not left yet.
    bool hasPredecessor(const DdsLink& link);
    DispatchThreads& dispatchThreads() { return m_dispatchThreads; }
    Registrations& registrations() { return m_registrations; }
    Disposal& disposal() { return m_disposal; }
    Engine& engine() { return m_engine; }
    std::shared_ptr<const RuntimeDirectory> directory() const { return m_directory.get(); }
    /// Within which an instance is registered once on this machine.
    const ipl::string& lockScope() const { return m_lockScope; }
    /// Wakes the transport's thread, to ask every link to follow.
    Signal& signal() { return m_signal; }

  private:
    void run(util::Thread const* thread) override;
    bool followAll();
    ipl::vector<std::shared_ptr<DdsLink>> links();
    void drain();

    const AgentConfiguration m_configuration;
    const ipl::string m_lockScope;
    CurrentDirectory m_directory;
    Signal m_signal;
    Engine m_engine;
    Registrations m_registrations;
    Disposal m_disposal;
    DispatchThreads m_dispatchThreads;
    util::Thread m_thread;

    // Guards what follows. Nothing else is locked under it.
    std::mutex m_mutex;
    bool m_running = false;
    std::map<const DdsLink*, std::shared_ptr<DdsLink>> m_links;
};

}  // namespace comm::transport
