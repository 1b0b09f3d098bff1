// The commands of the message test.

#include "ZidShell.h"
#include "ipl/iostream.h"

namespace {

ipl::string numbered(const char* label, int value) {
    return label + std::to_string(value);
}

}  // namespace

void ZidShell::handleStartService() {
    const int instance = m_startServiceInstance;
    print(numbered("Starting service with instance id: ", instance));
    ZidService*& slot = m_services[static_cast<std::size_t>(instance)];
    if (slot != nullptr)
        refuseStart(instance);
    else
        slot = new ZidService(static_cast<std::uint16_t>(instance));
}

void ZidShell::handleStartZid() {
    const int instance = m_startZidInstance;
    const int payload = m_startZidPayload;
    const int delay = m_startZidDelay;
    const int burstcount = m_startZidBurstcount;
    print(numbered("StartZID:   instance:    ", instance) + numbered("  payload:     ", payload) +
          numbered("  delay:       ", delay) + numbered("  burstcount:  ", burstcount));
    std::atomic<ZidClient*>& slot = m_clients[static_cast<std::size_t>(instance)];
    if (slot != nullptr)
        refuseStart(instance);
    else
        slot = new ZidClient(static_cast<std::uint16_t>(instance), static_cast<std::uint32_t>(payload),
                             static_cast<std::uint16_t>(delay), static_cast<std::uint16_t>(burstcount),
                             static_cast<std::uint16_t>(m_timeout));
}

void ZidShell::handleStopZid() {
    const int instance = m_stopZidInstance;
    print(numbered("StopZID:   instance:    ", instance));
    m_transferRunning = false;
    std::atomic<ZidClient*>& slot = m_clients[static_cast<std::size_t>(instance)];
    ZidClient* const client = slot;
    if (client == nullptr) return;
    client->stop();
    delete client;
    slot = nullptr;
}

void ZidShell::handleSetTimeout() {
    print(numbered("setTimeout:   timeout[msec]:    ", m_timeout));
}

void ZidShell::refuseStart(int instance) {
    ipl::cout << "service NOT Started - service with instance " << instance << " already active" << ipl::endl;
}
