// The other process of the conformance tests.
//
//   comm_peer PROCNAME serve INSTANCE             registers, then tells every event in a line
//   comm_peer PROCNAME call INSTANCE COUNT SIZE   connects, calls COUNT times with an array of SIZE bytes, and stays
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "TestService.h"
#include "comm/AgentStartStatus.h"
#include "comm/AgentStarter.h"

namespace {

// One line for each event; for a message its handle size, the array's size, and whether its bytes are right: they count
// up from the handle size.
class Telling final : public comm::SvcTracked {
  public:
    explicit Telling(const TestIdentity& identity) : comm::SvcTracked(identity.args(), Initial, nullptr) {}

    void connected() override { std::puts("connected"); }
    void received(const comm::Message& message) override {
        const bool right = message.data && countsUpFrom(*message.data, static_cast<std::uint8_t>(message.handleSize));
        std::printf("%u %u %s\n", message.handleSize, message.data ? message.data->size : 0, right ? "right" : "wrong");
    }
    void disconnected() override { std::puts("disconnected"); }
};

int serve(std::uint32_t instance) {
    comm::ServiceRegistration registration(new Telling(TestIdentity(instance)));
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

}  // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    if (argc < 4) return 2;
    comm::AgentStarter starter(argv[1], "local");
    comm::AgentStartStatus status;
    starter.start(&status, true);
    if (status.waitUntilStarted(10000) != comm::AgentStartStatus::Started) return 2;
    const auto instance = static_cast<std::uint32_t>(std::atoi(argv[3]));
    if (std::string(argv[2]) == "serve") return serve(instance);
    return argc < 6 ? 2
                    : call(instance, static_cast<unsigned>(std::atoi(argv[4])),
                           static_cast<std::uint32_t>(std::atoi(argv[5])));
}
