#pragma once

#include <cstdint>

#include "asi/media/srmexchange/ISRMExchange.h"
#include "comm/ServiceRegistration.h"

/// The receiving end of the interface: a stub to derive from, and its registration.
///
/// The framework calls `exchange`, `clientConnected` and `clientDisconnected` on the registration's dispatch thread,
/// one at a time, from `registerSelf` until `unregisterSelf` has returned. A derived class that overrides them calls
/// `unregisterSelf` in its own destructor: the base's comes too late for it.
class ISRMExchangeS {
  public:
    ISRMExchangeS(const ISRMExchangeS&) = delete;
    ISRMExchangeS& operator=(const ISRMExchangeS&) = delete;

    /// A message has arrived. `data` is empty in start messages and replies; `handleSize` is, in a start message, the
    /// number of data messages that are answered with one reply, and otherwise 0; `extra` is always empty.
    virtual void exchange(const ISRMExchange::DataPtr& data, std::uint16_t handleSize,
                          const ISRMExchange::ExtraPtr& extra) = 0;
    /// A client's proxy has connected to this registration.
    virtual void clientConnected() {}
    /// That client's proxy has gone away.
    virtual void clientDisconnected() {}

    virtual ~ISRMExchangeS();

  protected:
    ISRMExchangeS() = default;

    /// Makes this stub reachable under an instance. True on failure, with the reason in the error storage: it is
    /// registered already, or the framework refuses. On the thread that constructs the object.
    bool registerSelf(std::uint32_t instance);

    /// Withdraws the registration, if there is one; no call runs or will run when it returns, except the one that it is
    /// called from.
    void unregisterSelf();

    /// Empty while the stub is not registered.
    comm::ServiceRegistration m_registration;
};
