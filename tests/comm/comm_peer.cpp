// The other process of the conformance tests.
//
//   comm_peer PROCNAME serve INSTANCE             registers, then prints every event in a line
//   comm_peer PROCNAME call INSTANCE COUNT SIZE   connects, calls COUNT times with an array of SIZE bytes, and stays
//   comm_peer PROCNAME return INSTANCE            connects, calls, disconnects, and at a signal does so again and stays
//   comm_peer PROCNAME withdraw INSTANCE SLOW OTHER
//                                                 registers both, the callback of SLOW never returns; connects to the
//                                                 other one; at a signal unregisters, at the next one calls
//
// The signals are SIGUSR1.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "TestService.h"
#include "comm/AgentStartStatus.h"
#include "comm/AgentStarter.h"

namespace {

// One line for each event; for a message its handle size, the array's size, and whether its bytes are right: they count
// up from the handle size.
class Printing final : public comm::SvcTracked {
  public:
    explicit Printing(const TestIdentity& identity) : comm::SvcTracked(identity.args(), Initial, nullptr) {}

    void connected() override { std::puts("connected"); }
    void received(const comm::Message& message) override {
        const bool right = message.data && countsUpFrom(*message.data, static_cast<std::uint8_t>(message.handleSize));
        std::printf("%u %u %s\n", message.handleSize, message.data ? message.data->size : 0, right ? "right" : "wrong");
    }
    void disconnected() override { std::puts("disconnected"); }
};

int serve(std::uint32_t instance) {
    comm::ServiceRegistration registration(new Printing(TestIdentity(instance)));
    if (registration.registerService()) return 1;
    std::puts("serving");
    for (;;) ::pause();
}

int call(std::uint32_t instance, unsigned count, std::uint32_t size) {
    TestProxy proxy(instance);
    if (proxy.connect() || proxy.waitUntilAlive()) return 1;
    for (unsigned i = 0; i < count; ++i)
        proxy.call(static_cast<std::uint16_t>(i), countingArray(size, static_cast<std::uint8_t>(i)));
    std::puts("called");
    for (;;) ::pause();
}

sigset_t userSignal() {
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, SIGUSR1);
    return set;
}

void awaitSignal() {
    const sigset_t set = userSignal();
    int number = 0;
    ::sigwait(&set, &number);
}

int comeBack(std::uint32_t instance) {
    {
        TestProxy first(instance);
        if (first.connect() || first.waitUntilAlive()) return 1;
        first.call(6, countingArray(10, 6));
    }
    std::puts("ready");
    awaitSignal();
    TestProxy second(instance);
    if (second.connect()) return 1;
    std::puts("connecting");
    if (second.waitUntilAlive()) return 1;
    second.call(7, countingArray(10, 7));
    for (;;) ::pause();
}

int withdraw(std::uint32_t instance, std::uint32_t slow, std::uint32_t other) {
    TestService service(instance);
    TestService slowService(slow, [](const comm::Message&) {
        std::puts("inside");
        for (;;) ::pause();
    });
    TestProxy proxy(other);
    if (service.registration().registerService() || slowService.registration().registerService()) return 1;
    if (proxy.connect() || proxy.waitUntilAlive()) return 1;
    std::puts("ready");
    awaitSignal();
    if (service.registration().unregisterService()) return 1;
    std::puts("withdrawn");
    awaitSignal();
    for (std::uint16_t i = 0; i < 3; ++i) proxy.call(i);
    for (;;) ::pause();
}

}  // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    if (argc < 4) return 2;
    const sigset_t set = userSignal();
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    comm::AgentStarter starter(argv[1], "local");
    comm::AgentStartStatus status;
    starter.start(&status, true);
    if (status.waitUntilStarted(10000) != comm::AgentStartStatus::Started) return 2;
    const auto instance = static_cast<std::uint32_t>(std::atoi(argv[3]));
    const auto number = [&](int i) { return static_cast<std::uint32_t>(i < argc ? std::atoi(argv[i]) : 0); };
    const std::string role = argv[2];
    if (role == "serve") return serve(instance);
    if (role == "return") return comeBack(instance);
    if (role == "withdraw") return withdraw(instance, number(4), number(5));
    return argc < 6 ? 2 : call(instance, number(4), number(5));
}
