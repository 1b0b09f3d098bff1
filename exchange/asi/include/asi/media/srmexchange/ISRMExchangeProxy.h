#pragma once

#include <cstdint>

#include "asi/media/srmexchange/ISRMExchange.h"
#include "comm/Proxy.h"

/// The sending end of the interface. What it does and how it fails: see `comm::Proxy`.
class ISRMExchangeProxy final : public comm::Proxy {
  public:
    /// Aims at an instance's registration. `listener` as in `comm::Proxy`.
    explicit ISRMExchangeProxy(std::uint32_t instance, comm::LifecycleListener* listener = nullptr)
        : comm::Proxy(ISRMExchange::identityOf(ISRMExchange::keyOf(instance)), comm::InterfaceStyle::OneWay, listener) {
    }

    /// Sends one message. The parameters are those of `ISRMExchangeS::exchange`; `extra` does not travel.
    void exchange(const ISRMExchange::DataPtr& data, std::uint16_t handleSize,
                  const ISRMExchange::ExtraPtr& /*extra*/) const {
        interfaceObject().call({data, handleSize});
    }
};
