#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <mutex>

#include "comm/LifecycleImpl.h"
#include "comm/Proxy.h"
#include "comm/TrackedBase.h"
#include "transport/Transport.h"

namespace comm {

class Agent;

/// The record of a proxy: its link, and the object that stands for the service at the moment.
///
/// The proxy keeps it, and so do the agent while the proxy is connected, the link until it is closed, and each call for
/// its own length: a listener that is called inside may destroy the proxy.
class ProxyTracked final : public TrackedBase, public LifecycleImpl {
  public:
    ProxyTracked(const IdentityArgs& identity, LifecycleListener* listener);
    ~ProxyTracked() override;

    /// As in `Proxy`.
    bool connect();
    void disconnect();
    InterfaceObject& interfaceObject() const { return *m_objects[m_current]; }

  private:
    class Events;
    enum Selector : std::size_t { Unreachable = 0, Connected = 1 };

    std::shared_ptr<transport::Link> makeLink(const std::shared_ptr<Agent>& agent);
    void become(Selector selector, State state);

    // Guards the making of the link and the end, and makes the selector change together with the state.
    std::mutex m_mutex;
    std::shared_ptr<Agent> m_agent;  // while connected
    // Once it is made it stays, so that calls may use it without a lock.
    std::shared_ptr<transport::Link> m_link;

    std::array<std::unique_ptr<InterfaceObject>, 2> m_objects;
    std::atomic<Selector> m_current{Unreachable};
};

}  // namespace comm
