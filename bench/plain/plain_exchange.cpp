// The message test's exchange over a raw Unix-domain socket: what the test could do at best on this machine.
//
//     plain_exchange PAYLOAD BURST SECONDS

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>

#include "Number.h"
#include "PlainClient.h"
#include "PlainService.h"

namespace {

constexpr std::size_t MaxPayload = std::size_t{1} << 20;
constexpr std::size_t MaxBurst = 99;

struct Settings {
    std::size_t payload = 0;
    std::size_t burst = 0;
    double seconds = 0;
};

struct Sockets {
    int messages[2] = {-1, -1};  ///< the client's end and the service's
    int replies[2] = {-1, -1};
};

bool parse(int argc, char** argv, Settings& settings) {
    return argc != 4 || bench::parseNumber(argv[1], std::size_t{0}, MaxPayload, settings.payload) ||
           bench::parseNumber(argv[2], std::size_t{1}, MaxBurst, settings.burst) ||
           bench::parseNumber(argv[3], 0.01, 3600.0, settings.seconds);
}

bool open(Sockets& sockets) {
    return ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.messages) != 0 ||
           ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.replies) != 0;
}

// As the client's, the service's receive thread is not the main thread of its process.
int serve(const Sockets& sockets, const Settings& settings, pid_t client) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != client) return 1;
    ::close(sockets.messages[0]);
    ::close(sockets.replies[0]);
    bool failed = false;
    std::thread receiver([&] {
        bench::PlainService service(sockets.messages[1], sockets.replies[1], settings.payload, settings.burst);
        failed = service.serve();
    });
    receiver.join();
    return failed ? 1 : 0;
}

bool waitForService(pid_t service) {
    int status = 0;
    while (::waitpid(service, &status, 0) < 0 && errno == EINTR) {
    }
    return status != 0;
}

int exchange(const Sockets& sockets, const Settings& settings, pid_t service) {
    ::close(sockets.messages[1]);
    ::close(sockets.replies[1]);
    bench::PlainClient client(sockets.messages[0], sockets.replies[0], settings.payload, settings.burst);
    client.waitFor(std::chrono::duration<double>(settings.seconds));
    const bench::PlainClient::Result result = client.stop();
    if (waitForService(service) || result.failed || result.messages == 0) {
        std::fputs("plain_exchange: the exchange broke off\n", stderr);
        return 1;
    }
    const double rate = static_cast<double>(result.messages) / std::chrono::duration<double>(result.time).count();
    std::printf("messages:\t%ju\nmsgs/second:\t%.0f\n", std::uintmax_t{result.messages}, rate);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    Settings settings;
    if (parse(argc, argv, settings)) {
        std::fprintf(stderr, "usage: %s PAYLOAD BURST SECONDS\n", argv[0]);
        return 2;
    }
    Sockets sockets;
    const bool failed = open(sockets);
    const pid_t client = ::getpid();
    const pid_t service = failed ? -1 : ::fork();
    if (service < 0) {
        std::fprintf(stderr, "plain_exchange: starting the service: %s\n", std::strerror(errno));
        return 1;
    }
    return service == 0 ? serve(sockets, settings, client) : exchange(sockets, settings, service);
}
