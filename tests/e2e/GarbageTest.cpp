#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cstring>
#include <random>

#include "EndToEndTest.h"
#include "Greeting.h"
#include "ProcessState.h"
#include "Traffic.h"
#include "asi/media/srmexchange/ISRMExchange.h"

namespace {

namespace fs = std::filesystem;

using comm::transport::FileDescriptor;
using comm::transport::Greeting;
using comm::transport::GreetingBody;
using comm::transport::MaxArray;
using comm::transport::RecordHeader;
using comm::transport::TestRing;

constexpr int Instance = 8;

// Somebody who connects to the service, with a ring to show.
struct Peer {
    void send(const std::string& bytes) const {
        EXPECT_EQ(::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }
    void greet(const GreetingBody& body, int memory, int doorbell) const {
        EXPECT_FALSE(Greeting::send(socket.get(), body, memory, doorbell));
    }
    void greet(const GreetingBody& body) const { greet(body, memory(), bell()); }
    int memory() const { return ring.file.get(); }
    int bell() const { return ring.bell.fd(); }

    // Shows the beginning of a record.
    void write(const RecordHeader& header, std::uint32_t tail) const {
        std::memcpy(ring.view.ring(), &header, sizeof header);
        ring.control().tail = {tail, 0};
        ring.bell.ring();
    }

    FileDescriptor socket;
    TestRing ring{};
};

class GarbageTest : public EndToEndTest {
  protected:
    // The service's socket, the only one as long as nobody else is there.
    fs::path socketPath() const {
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(meetingPlace(), error))
            if (entry.is_socket(error) && entry.path().extension() != ".new") return entry.path();
        return {};
    }

    FileDescriptor connect() const {
        const timeval patience{Program::Watchdog.count() / 1000, 0};
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, socketPath().c_str(), sizeof address.sun_path - 1);
        FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        EXPECT_EQ(::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        return socket;
    }

    static void expectEnd(const Peer& peer) {
        char answer = 0;
        const ssize_t count = ::recv(peer.socket.get(), &answer, 1, 0);
        EXPECT_TRUE(count == 0 || (count < 0 && errno == ECONNRESET)) << "it still waits for more";
    }
};

std::string randomBytes(std::size_t count) {
    std::mt19937 random(1);  // NOLINT(bugprone-random-generator-seed): the same bytes every time
    std::string bytes;
    while (bytes.size() < count) bytes += static_cast<char>(random());
    return bytes;
}

GreetingBody greetingOf(std::uint32_t instance) {
    const comm::InstanceKey key = ISRMExchange::keyOf(instance);
    return GreetingBody(comm::transport::Identity(ISRMExchange::identityOf(key)));
}

struct Garbage {
    const char* fault;
    bool greetsFirst;  // in the right way
    std::function<void(const Peer&)> send;
};

std::vector<Garbage> garbage() {
    const GreetingBody right = greetingOf(Instance);
    const std::string bytes(reinterpret_cast<const char*>(&right), sizeof right);
    const char* const protocol = "it speaks another protocol";
    const char* const noDescriptors = "its greeting comes without memory and doorbell";
    const char* const noMessage = "it sent something that is no message";
    return {
        {protocol, false, [](const Peer& peer) { peer.send(randomBytes(64)); }},
        {protocol, false, [](const Peer& peer) { peer.send(randomBytes(100000)); }},
        {protocol, false, [](const Peer& peer) { peer.send(std::string(1000, '\0')); }},
        {protocol, false, [=](const Peer& peer) { peer.send(bytes.substr(1)); }},
        {noDescriptors, false, [=](const Peer& peer) { peer.send(bytes); }},
        {noDescriptors, false, [=](const Peer& peer) { peer.send(bytes + bytes); }},
        {"it means another service", false, [](const Peer& peer) { peer.greet(greetingOf(Instance + 1)); }},
        {"its memory is not sealed", false, [=](const Peer& peer) { peer.greet(right, peer.bell(), peer.bell()); }},
        {"its doorbell is none", false, [=](const Peer& peer) { peer.greet(right, peer.memory(), peer.memory()); }},
        {noMessage, true, [](const Peer& peer) { peer.send("more"); }},
        {noMessage, true, [=](const Peer& peer) { peer.greet(right); }},
        {noMessage, true,
         [](const Peer& peer) {
             peer.write({0, 0x7777, 1}, 8);
         }},
        {"it claims an impossible position", true, [](const Peer& peer) { peer.write({}, 12); }},
        {"a message claims an impossible length", true,
         [](const Peer& peer) {
             peer.write({MaxArray + 1, RecordHeader::LongCall, 1}, 8);
         }},
        {"it ended in the middle of a message", true,
         [](const Peer& peer) {
             peer.write({MaxArray, RecordHeader::LongCall, 1}, 8);
             ::shutdown(peer.socket.get(), SHUT_RDWR);
         }},
    };
}

TEST_F(GarbageTest, EndsItsConnectionWithAWarningAndNothingElse) {
    Program service({"-s", std::to_string(Instance)});
    ASSERT_TRUE(eventually([this] { return !socketPath().empty(); }));
    const std::string warning = "warning: connection of process " + std::to_string(::getpid()) + " to " +
                                ISRMExchange::InterfaceName + "/8 ended: ";
    const std::vector<Garbage> all = garbage();
    for (std::size_t i = 0; i < all.size(); ++i) {
        SCOPED_TRACE(testing::Message() << i << ": " << all[i].fault);
        const Peer peer{connect()};
        if (all[i].greetsFirst) peer.greet(greetingOf(Instance));
        all[i].send(peer);
        expectEnd(peer);
        // The same again is held back for a second.
        if (i == 0 || all[i].fault != all[i - 1].fault) service.waitForError(warning + all[i].fault + " *");
        EXPECT_LE(service.errors().lines().size(), i + 1);
        if (all[i].greetsFirst) service.waitForLine("ZidService(8): disconnected -> test finished");
    }
    EXPECT_EQ(service.output().count("ZidService(8): disconnected*"),
              service.output().count("ZidService: clientConnected*"));
    (void)connect();  // somebody who only looks in is no fault
    Program shell({});
    runTest(shell, Instance);
    leave(shell);
    EXPECT_LE(service.errors().lines().size(), all.size());
}

}  // namespace
