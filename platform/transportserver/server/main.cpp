#include <cstdio>

#include "MountPoint.h"
#include "Server.h"
#include "ServerOptions.h"

namespace {

int fail(const std::string& reason) {
    std::fprintf(stderr, "transportserver: %s\n", reason.c_str());
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    int exitStatus = 0;
    const auto options = transport::ServerOptions::parse(argc, argv, exitStatus);
    if (!options) return exitStatus;

    transport::Server::blockSignals();
    transport::MountPoint mountPoint(options->mountPoint);
    if (mountPoint.prepare()) return fail(mountPoint.reason());
    transport::Server server({options->capacity, options->idleTime});
    if (server.start(mountPoint)) return fail(server.reason());
    std::printf("transportserver: ready at %s\n", options->mountPoint.c_str());
    (void)std::fflush(stdout);
    transport::Server::waitForEnd();
    return 0;
}
