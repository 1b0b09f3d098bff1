#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <random>

#include "EndToEndTest.h"
#include "ProcessState.h"

namespace {

namespace fs = std::filesystem;

// A frame begins with the length of what follows, in four bytes, its kind and a number in two bytes each.
const std::string GreetingHeader("\x30\0\0\0\x01\x5a\0\0", 8);
const std::string Call("\0\0\0\0\x02\x5a\x01\0", 8);

class GarbageTest : public EndToEndTest {
  protected:
    // The service's socket, the only one as long as nobody else is there.
    fs::path socketPath() const {
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(meetingPlace(), error))
            if (entry.is_socket(error) && entry.path().extension() != ".new") return entry.path();
        return {};
    }

    // Returns when the service has closed the connection.
    void send(const std::string& bytes) const {
        const timeval patience{Program::Watchdog.count() / 1000, 0};
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, socketPath().c_str(), sizeof address.sun_path - 1);
        const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        ASSERT_EQ(::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
        ::shutdown(fd, SHUT_WR);
        char answer = 0;
        const ssize_t count = ::recv(fd, &answer, 1, 0);
        EXPECT_TRUE(count == 0 || (count < 0 && errno == ECONNRESET)) << "it still waits for more";
        ::close(fd);
    }
};

std::string randomBytes(std::size_t count) {
    std::mt19937 random(1);  // NOLINT(bugprone-random-generator-seed): the same bytes every time
    std::string bytes;
    while (bytes.size() < count) bytes += static_cast<char>(random());
    return bytes;
}

TEST_F(GarbageTest, EndsItsConnectionWithOneWarningAndNothingElse) {
    Program service({"-s", "8"});
    ASSERT_TRUE(eventually([this] { return !socketPath().empty(); }));
    const std::vector<std::string> garbage{
        randomBytes(64),
        randomBytes(100000),
        std::string(1000, '\0'),
        std::string(3, '\x30'),                              // ends within a header
        GreetingHeader + "truncated",                        // ends within a greeting
        GreetingHeader + std::string(48, '\0'),              // greets somebody else
        std::string("\xff\xff\xff\xff\x03\x5a\0\0", 8),      // a message of 4 GiB
        std::string("\x01\0\0\x04\x03\x5a\0\0", 8),          // one byte more than a message can have
        std::string("\x31\0\0\0\x01\x5a\0\0", 8) + "hello",  // a greeting of a wrong length
        Call,                                                // no greeting
    };
    for (const std::string& bytes : garbage) {
        const std::size_t before = service.errors().lines().size();
        send(bytes);
        service.waitForError("warning: connection of process " + std::to_string(::getpid()) + " to *");
        EXPECT_EQ(service.errors().lines().size(), before + 1);
    }
    send("");  // somebody who only looks in is no fault
    Program shell({});
    runTest(shell, 8);
    leave(shell);
    EXPECT_EQ(service.errors().lines().size(), garbage.size());
    EXPECT_EQ(service.output().lines().size() % 3, 2U) << "two lines of the start and three for each true client\n"
                                                       << service.output().text();
}

}  // namespace
