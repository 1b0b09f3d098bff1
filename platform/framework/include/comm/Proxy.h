#pragma once

#include "comm/Lifecycle.h"
#include "comm/LifecycleListener.h"
#include "comm/Message.h"
#include "comm/TrackedBase.h"
#include "comm/TrackedReferenceBase.h"

namespace comm {

/// How a proxy makes its calls. There is one style: one-way calls that nobody answers.
enum class InterfaceStyle { OneWay = 0 };

class ProxyTracked;

/// What stands for the service at the moment: the connection to it, or the place where calls are dropped.
class InterfaceObject {
  public:
    virtual ~InterfaceObject() = default;
    virtual void call(const Message& message) = 0;
};

/// One end of a connection, through which a registration is called. It follows its registration: dead when that goes,
/// alive when it comes back.
///
/// Any two calls on one proxy may run at once, also with the agent's end. `disconnect` and the agent's end are final:
/// whatever else runs then, no wait of the proxy blocks any more and its listener is called no more. Only construction
/// and destruction are one thread's own; its own listener may destroy it, also while `connect` is calling that.
class Proxy : public Lifecycle {
  public:
    /// Aims at a registration; nothing happens yet. `listener` may be null; it must live until `disconnect` has
    /// returned.
    Proxy(const TrackedBase::IdentityArgs& identity, InterfaceStyle style, LifecycleListener* listener);
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;
    /// Disconnects. Allowed inside every callback.
    ~Proxy() override;

    bool isAlive() const override;
    bool isDead() const override;
    bool waitUntilDead() override;
    bool waitUntilAlive() override;

    /// Ends the connection, as `disconnect` does.
    virtual void cleanup();

    /// Connects: to a living registration at once, to a missing one when it appears. Where the system is short of
    /// something, such as descriptors, the proxy becomes alive as soon as that is over. True on failure, with the
    /// reason in the error storage: no agent, connected or disconnected already, or the system refuses, which also ends
    /// it.
    bool connect();

    /// Ends the connection for good; waits end with failure. When it has returned the listener hears nothing more, but
    /// for a call that it is made from, or one that waits for the caller's own callback. What was called before still
    /// arrives, as long as the agent runs.
    void disconnect();

  protected:
    /// The object to call. Calls of one proxy arrive in the order in which they were made. A call never waits for the
    /// receiver's answer; on a proxy that is not alive it is dropped and the error recorded.
    InterfaceObject& interfaceObject() const;

  private:
    ProxyTracked* tracked() const;

    const TrackedReferenceBase m_tracked;  // as long as the proxy, so any thread may use it
};

}  // namespace comm
