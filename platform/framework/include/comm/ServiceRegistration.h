#pragma once

#include "comm/Lifecycle.h"
#include "comm/SvcTracked.h"
#include "comm/TrackedReferenceBase.h"

namespace comm {

/// A registration as its owner holds it: a counted reference to the record, and what can be done with it.
///
/// The framework holds a reference of its own while the registration is alive, so it is withdrawn by
/// `unregisterService` or the agent's end and not by dropping the last `ServiceRegistration`.
///
/// Any two calls on registrations of one record may run at once, also with the agent's end, which is final. Assigning
/// and destroying one `ServiceRegistration` is one thread's own.
class ServiceRegistration final : public TrackedReferenceBase, public Lifecycle {
  public:
    ServiceRegistration() = default;
    explicit ServiceRegistration(SvcTracked* record) : TrackedReferenceBase(record) {}

    /// False while it holds no record. The other three need a record.
    bool isAlive() const override;
    bool isDead() const override;
    bool waitUntilDead() override;
    bool waitUntilAlive() override;

    /// Makes the record's identity reachable; calls may arrive before it returns, and find it alive. True on failure,
    /// with the reason in the error storage: no agent, registered already, the identity is taken, the agent that it was
    /// registered with has ended, or the system refuses. Needs a record.
    bool registerService();

    /// Withdraws it. When it has returned no callback runs or will run, whichever thread has withdrawn it. Two kinds of
    /// callback are excepted, as waiting for them would never end: one that it is called from, and one that is itself
    /// waiting for the callback that it is called from, as when two callbacks withdraw each other's registrations. The
    /// connections end without a further callback. True on failure: it is not registered, or another thread was first.
    bool unregisterService();

    SvcTracked* svcTracked() const { return static_cast<SvcTracked*>(record()); }
};

}  // namespace comm
