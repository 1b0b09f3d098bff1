#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>

#include "EventLog.h"
#include "asi/media/srmexchange/ISRMExchangeProxy.h"
#include "asi/media/srmexchange/ISRMExchangeS.h"

/// A service that answers when its test says so, and checks the payload's counter. It logs "connected", "start N",
/// "data", "wrong data" and "disconnected".
class ScriptedPeer final : public ISRMExchangeS {
  public:
    explicit ScriptedPeer(std::uint32_t instance, unsigned burst) : m_replyInstance(instance + 100), m_burst(burst) {
        EXPECT_FALSE(registerSelf(instance));
    }
    ~ScriptedPeer() override { unregisterSelf(); }

    void reply() {
        const std::scoped_lock lock(m_mutex);
        if (m_proxy != nullptr) m_proxy->exchange({}, 0, {});
    }
    /// Goes away as far as the client can see.
    void letGo() {
        const std::scoped_lock lock(m_mutex);
        m_proxy.reset();
    }

    void exchange(const ISRMExchange::DataPtr& data, std::uint16_t handleSize, const ISRMExchange::ExtraPtr&) override {
        if (handleSize != 0 || !data) {
            log.add("start " + std::to_string(handleSize));
            return;
        }
        const auto first = static_cast<std::uint8_t>(m_received++ / m_burst * data->size);
        bool right = true;
        for (std::uint32_t i = 0; i < data->size; ++i) right &= data->data[i] == static_cast<std::uint8_t>(first + i);
        log.add(right ? "data" : "wrong data");
    }
    void clientConnected() override {
        const std::scoped_lock lock(m_mutex);
        m_proxy = std::make_unique<ISRMExchangeProxy>(m_replyInstance);
        EXPECT_FALSE(m_proxy->connect());
        log.add("connected");
    }
    void clientDisconnected() override {
        letGo();
        log.add("disconnected");
    }

    EventLog log;

  private:
    const std::uint32_t m_replyInstance;
    const unsigned m_burst;
    unsigned m_received = 0;
    std::mutex m_mutex;  // guards `m_proxy` between the dispatch thread and the test
    std::unique_ptr<ISRMExchangeProxy> m_proxy;
};
