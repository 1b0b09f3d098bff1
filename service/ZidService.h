#pragma once

#include <cstdint>
#include <memory>

#include "ReplyProxy.h"
#include "asi/media/srmexchange/ISRMExchangeS.h"

/// The responder of the message test for one instance.
///
/// It waits for a client, connects a proxy back to the client's reply service, takes the client's first message as the
/// start message, and from then on answers every block of as many data messages as that announced with one reply. It
/// takes no lock: the framework calls it one call at a time.
class ZidService final : public ISRMExchangeS {
  public:
    /// Registers the service. Where that fails the reason is printed and the process ends with status 1.
    explicit ZidService(std::uint16_t instance);
    ~ZidService() override;

    void exchange(const ISRMExchange::DataPtr& data, std::uint16_t handleSize,
                  const ISRMExchange::ExtraPtr& extra) override;
    void clientConnected() override;
    void clientDisconnected() override;

    /// Blocks the calling thread. It returns only after a wake-up without a signal, or a failed wait.
    void waitForever();

  private:
    void startTest(std::uint16_t messageCount);
    void countMessage();
    void reply() const;

    const std::uint16_t m_instance;
    std::uint16_t m_msgcount = 0;         // data messages for each reply; 0 while no test runs
    std::unique_ptr<ReplyProxy> m_proxy;  // to the client's reply service; null while no client is connected
    std::uint16_t m_rxcount = 0;          // data messages since the last reply
};
