#include <sys/socket.h>

#include <thread>

#include "EndToEndTest.h"
#include "Greeting.h"
#include "RuntimeDirectory.h"
#include "Sanitized.h"
#include "Traffic.h"
#include "asi/media/srmexchange/ISRMExchange.h"

namespace {

using namespace comm::transport;

constexpr int Services = 99;

// Clients that keep coming, to one service after the other, each as soon as the one before it has gone.
class Flood {
  private:
    static RuntimeDirectory open() {
        RuntimeDirectory directory;
        EXPECT_FALSE(directory.open());
        return directory;
    }

    void run(const std::stop_token& end) {
        for (std::uint32_t instance = 1; !end.stop_requested(); instance = instance % Services + 1)
            connect(m_clients.at(instance), Identity(ISRMExchange::identityOf(ISRMExchange::keyOf(instance))));
    }

    void connect(FileDescriptor& client, const Identity& identity) const {
        const sockaddr_un address = m_directory.address(identity.fileName);
        client.reset();
        client = FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            (void)Greeting::send(client.get(), GreetingBody(identity), m_ring.file.get(), m_ring.bell.fd());
    }

    const RuntimeDirectory m_directory = open();
    const TestRing m_ring{};
    std::array<FileDescriptor, Services + 1> m_clients;
    std::jthread m_thread{[this](const std::stop_token& end) { run(end); }};
};

using FloodTest = EndToEndTest;

TEST_F(FloodTest, ShellEndsWellWhileClientsKeepComing) {
    if (ThreadSanitized) GTEST_SKIP() << "the thread sanitizer takes a second to map a ring";
    for (int round = 0; round < 3; ++round) {
        Program shell({});
        for (int instance = 1; instance <= Services; ++instance)
            shell.write("startService " + std::to_string(instance));
        shell.waitForLine("starting service with instance " + std::to_string(Services));
        const Flood flood;
        for (int count = 0; count < 2 * Services; ++count) shell.waitForLine("ZidService: clientConnected*");
        leave(shell);
        EXPECT_EQ(shell.errors().text(), "");
    }
}

}  // namespace
