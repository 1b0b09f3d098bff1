#include "Racer.h"

#include <chrono>
#include <iostream>
#include <memory>
#include <thread>

#include "TestService.h"
#include "comm/AgentStartStatus.h"
#include "comm/AgentStarter.h"

namespace {

constexpr std::uint32_t OwnInstance = 800;

void pause(unsigned microseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

}  // namespace

bool Racer::run() {
    bool failed = false;
    for (unsigned rounds = 20; rounds > 0 && !failed; --rounds) failed = round();
    std::cout << (failed ? "fault" : "ok") << std::endl;
    return failed;
}

bool Racer::round() {
    auto starter = std::make_unique<comm::AgentStarter>("testclient", "local");
    comm::AgentStartStatus status;
    starter->start(&status, true);
    if (status.waitUntilStarted(10000) != comm::AgentStartStatus::Started) return true;
    TestProxy proxy(m_instance, this);
    TestService service(OwnInstance);
    const auto thread = [&](auto act) {
        return std::jthread([act, delay = m_dice.upTo(400)] {
            pause(delay);
            act();
        });
    };
    {
        const std::jthread connecting = thread([&] { (void)proxy.connect(); });
        const std::jthread disconnecting = thread([&] { proxy.disconnect(); });
        const std::jthread waiting = thread([&] { (void)(proxy.waitUntilAlive() || proxy.waitUntilDead()); });
        const std::jthread registering = thread([&] { (void)service.registration().registerService(); });
        pause(m_dice.upTo(800));
        starter.reset();
    }
    return proxy.isAlive() || !proxy.connect() || service.registration().isAlive();
}

void Racer::lifecycleChanged(bool alive) {
    if (alive) pause(100);
}
