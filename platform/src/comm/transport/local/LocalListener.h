#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "../Transport.h"
#include "../common/InstanceLock.h"
#include "Dispatcher.h"
#include "LocalContext.h"

namespace comm::transport {

/// A registration: its lock and its name in the runtime directory, and the dispatch thread that serves its connections.
class LocalListener final : public Listener, public std::enable_shared_from_this<LocalListener> {
  public:
    /// Called once, inside `close`.
    using Closed = std::function<void(const LocalListener&)>;

    LocalListener(LocalContext& context, const TrackedBase::IdentityArgs& identity,
                  std::shared_ptr<ListenerEvents> events, Closed closed);

    /// Makes it reachable and starts its thread. True on failure, with the reason in the error storage.
    [[nodiscard]] bool open();

    void close() override;

    /// Whether its files may have such a name.
    bool mayOwn(const ipl::string& fileName) const;

    enum class Names {
        Held,  ///< it has its names, perhaps again, or is closed
        Lost   ///< they could not be taken again, and that was reported
    };
    /// Takes its names again where somebody has removed them or the runtime directory. For the transport's thread.
    Names restoreNames();

  private:
    bool takeNames(const std::shared_ptr<const RuntimeDirectory>& directory);

    LocalContext& m_context;
    const Identity m_identity;
    const Closed m_closed;
    Dispatcher m_dispatcher;

    // Guards what follows: the names are taken and given back by one thread at a time.
    std::mutex m_mutex;
    InstanceLock m_lock;
    bool m_isClosed = false;
    bool m_lossReported = false;
};

}  // namespace comm::transport
