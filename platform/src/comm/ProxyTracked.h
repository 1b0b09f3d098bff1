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

/// The record of a proxy: its link, and the object that stands for the service at the moment.
class ProxyTracked final : public TrackedBase, public LifecycleImpl, private transport::LinkEvents {
  public:
    ProxyTracked(const IdentityArgs& identity, LifecycleListener* listener);
    ~ProxyTracked() override;

    /// As in `Proxy`.
    bool connect();
    void disconnect();
    InterfaceObject& interfaceObject() const { return *m_objects[m_current]; }

  private:
    enum Selector : std::size_t { Unreachable = 0, Connected = 1 };

    void up() override;
    void down() override;
    void become(Selector selector, State state);

    // Guards the making of the link. It stays once it is made, so that calls may use it without a lock.
    std::mutex m_mutex;
    std::shared_ptr<transport::Link> m_link;

    std::array<std::unique_ptr<InterfaceObject>, 2> m_objects;
    std::atomic<Selector> m_current{Unreachable};
};

}  // namespace comm
