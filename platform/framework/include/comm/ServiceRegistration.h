#pragma once

#include "comm/Lifecycle.h"
#include "comm/SvcTracked.h"
#include "comm/TrackedReferenceBase.h"

namespace comm {

/// A registration as its owner holds it: a counted reference to the record, and what can be done with it.
///
/// The framework holds a reference of its own while the registration is alive, so it is withdrawn by
/// `unregisterService` or the agent's end and not by dropping the last `ServiceRegistration`.
class ServiceRegistration final : public TrackedReferenceBase, public Lifecycle {
  public:
    ServiceRegistration() = default;
    explicit ServiceRegistration(SvcTracked* record) : TrackedReferenceBase(record) {}

    /// False while it holds no record. The other three need a record.
    bool isAlive() const override;
    bool isDead() const override;
    bool waitUntilDead() override;
    bool waitUntilAlive() override;

    /// Makes the record's identity reachable on this machine; calls may arrive before it returns. True on failure, with
    /// the reason in the error storage: no agent, the identity is taken, or the system refuses. Needs a record.
    bool registerService();

    /// Withdraws it. When it has returned no callback runs or will run, unless it is called from a callback itself,
    /// which is then the last. The connections end without a further callback. True on failure: it is not registered.
    bool unregisterService();

    SvcTracked* svcTracked() const { return static_cast<SvcTracked*>(record()); }
};

}  // namespace comm
