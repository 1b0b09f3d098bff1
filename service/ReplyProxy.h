#pragma once

#include <cstdint>

#include "asi/media/srmexchange/ISRMExchangeProxy.h"

/// The way back to one client. When that client's reply service goes, it ends for good, also while the news that the
/// client has gone is still on its way to the service: the next client's reply service has the same identity, and must
/// not see the coming and going of a connection that was meant for another one.
class ReplyProxy final : private comm::LifecycleListener {
  public:
    explicit ReplyProxy(std::uint32_t instance) : m_proxy(instance, this) {}
    ReplyProxy(const ReplyProxy&) = delete;
    ReplyProxy& operator=(const ReplyProxy&) = delete;
    ~ReplyProxy() override { m_proxy.disconnect(); }

    /// As `comm::Proxy::connect`.
    [[nodiscard]] bool connect() { return m_proxy.connect(); }

    /// Sends a reply, unless the client has gone.
    void reply() const { m_proxy.exchange(ISRMExchange::DataPtr(), 0, ISRMExchange::ExtraPtr()); }

  private:
    void lifecycleChanged(bool alive) override {
        if (!alive) m_proxy.disconnect();
    }

    ISRMExchangeProxy m_proxy;
};
