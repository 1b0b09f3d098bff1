#pragma once

#include <functional>
#include <memory>
#include <string>

#include "EventLog.h"
#include "comm/Proxy.h"
#include "comm/ServiceRegistration.h"

/// The identity that the tests use.
class TestIdentity {
  public:
    explicit TestIdentity(std::uint32_t instance) : m_key{Key, instance} {}
    comm::TrackedBase::IdentityArgs args() const { return {m_key, Interface, "test.Interface"}; }

  private:
    static constexpr ipl::UUID Key{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    static constexpr ipl::UUID Interface{11, 12, 13, 14, 15, 16, 17, 18, 19, 20};
    comm::InstanceKey m_key;
};

/// A record that logs what arrives: "connected", "disconnected", and each message as its handle size and array.
class TestRecord final : public comm::SvcTracked {
  public:
    using OnMessage = std::function<void(const comm::Message&)>;

    TestRecord(const TestIdentity& identity, EventLog& log, OnMessage onMessage, comm::LifecycleListener* listener)
        : comm::SvcTracked(identity.args(), Initial, listener), m_log(log), m_onMessage(std::move(onMessage)) {}

    void connected() override { m_log.add("connected"); }
    void received(const comm::Message& message) override {
        if (m_onMessage) m_onMessage(message);
        m_log.add(std::to_string(message.handleSize));
    }
    void disconnected() override { m_log.add("disconnected"); }

  private:
    EventLog& m_log;
    const OnMessage m_onMessage;
};

/// A registration with its log. Ends with the test.
class TestService {
  public:
    explicit TestService(std::uint32_t instance, TestRecord::OnMessage onMessage = {},
                         comm::LifecycleListener* listener = nullptr)
        : m_registration(new TestRecord(TestIdentity(instance), log, std::move(onMessage), listener)) {}
    TestService(const TestService&) = delete;
    TestService& operator=(const TestService&) = delete;
    ~TestService() {
        if (m_registration.isAlive()) (void)m_registration.unregisterService();
    }

    comm::ServiceRegistration& registration() { return m_registration; }

    EventLog log;

  private:
    comm::ServiceRegistration m_registration;
};

class TestProxy final : public comm::Proxy {
  public:
    explicit TestProxy(std::uint32_t instance, comm::LifecycleListener* listener = nullptr)
        : comm::Proxy(TestIdentity(instance).args(), comm::InterfaceStyle::OneWay, listener) {}

    void call(std::uint16_t handleSize, const util::UInt8ArrayPtr& data = {}) {
        interfaceObject().call({data, handleSize});
    }
};

/// An array whose bytes count up from a first value.
inline util::UInt8ArrayPtr countingArray(std::uint32_t size, std::uint8_t first) {
    util::UInt8ArrayPtr array = util::CITypesFactory::createUInt8Array(size);
    for (std::uint32_t i = 0; i < size; ++i) array->data[i] = static_cast<std::uint8_t>(first + i);
    return array;
}

inline bool countsUpFrom(const ipl::UInt8Array& array, std::uint8_t first) {
    for (std::uint32_t i = 0; i < array.size; ++i)
        if (array.data[i] != static_cast<std::uint8_t>(first + i)) return false;
    return true;
}
