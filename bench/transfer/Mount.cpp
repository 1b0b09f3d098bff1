#include "Mount.h"

#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace bench {
namespace {

constexpr double ReadyTime = 10;  // seconds
constexpr std::chrono::seconds EndTime{10};

// What an ordinary user has mounted only the helper can unmount.
void detach(const std::string& path) {
    if (::umount2(path.c_str(), MNT_DETACH) == 0 || errno != EPERM) return;
    Process helper("fusermount3");
    if (!start(helper, {"fusermount3", "-u", "-z", path})) helper.wait();
}

}  // namespace

Mount::Mount(const std::string& program) : m_program(program), m_server(std::filesystem::path(program).filename()) {}

Mount::~Mount() {
    unmount();
}

bool Mount::mount(Supervisor& supervisor) {
    if (path().empty()) return tell(m_server, std::string("has no directory: ") + std::strerror(errno));
    if (start(m_server, {m_program, path()})) return true;
    return supervisor.waitForOutput(m_server, m_server, "ready at " + path(), 1, after(ReadyTime));
}

Process::Exit Mount::unmount() {
    m_server.stop(EndTime);
    const Process::Exit exit = m_server.wait();
    if (exit.status != 0) detach(path());
    return exit;
}

}  // namespace bench
