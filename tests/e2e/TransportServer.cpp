#include "TransportServer.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fstream>
#include <utility>

#include "PlainFile.h"

namespace {

std::vector<std::string> with(std::vector<std::string> words, const std::string& last) {
    words.push_back(last);
    return words;
}

}  // namespace

TransportServer::TransportServer(std::filesystem::path mountPoint, const std::vector<std::string>& options)
    : m_mountPoint(std::move(mountPoint)), m_program(start(with(options, m_mountPoint))) {
    m_program.waitForLine("transportserver: ready at " + m_mountPoint.string());
    EXPECT_TRUE(isMounted());
}

TransportServer::~TransportServer() {
    if (!m_ended) end(SIGTERM);
}

void TransportServer::end(int signal) {
    m_ended = true;
    ::kill(id(), signal);
    EXPECT_EQ(m_program.waitForExit(), 0) << m_program.errors().text();
    EXPECT_EQ(m_program.errors().text(), "");
    EXPECT_EQ(m_program.output().lines().size(), 1U) << m_program.output().text();
    EXPECT_FALSE(isMounted());
}

void TransportServer::kill() {
    m_ended = true;
    ::kill(id(), SIGKILL);
    siginfo_t ignored{};
    EXPECT_EQ(::waitid(P_PID, static_cast<id_t>(id()), &ignored, WEXITED | WNOWAIT), 0);
}

std::string TransportServer::obstacle() {
    const PlainFile device("/dev/fuse", O_RDWR);
    return device.error() == 0 ? "" : std::string("/dev/fuse cannot be opened: ") + std::strerror(device.error());
}

Program TransportServer::start(const std::vector<std::string>& arguments) {
    return Program(arguments, Program::Output::Piped, TRANSPORTSERVER_PROGRAM);
}

// Each thread's stack takes 512 MiB of the addresses, and the rest of the program less than half of that.
Program TransportServer::startWithThreads(unsigned count, const std::vector<std::string>& arguments) {
    const std::string addresses = std::to_string((512 * count + 256) << 10);
    std::vector<std::string> words{"-c", "ulimit -s 524288; ulimit -v " + addresses + R"(; exec "$0" "$@")",
                                   TRANSPORTSERVER_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return Program(words, Program::Output::Piped, "/bin/sh");
}

std::vector<std::string> TransportServer::mountPointsIn(const std::filesystem::path& directory) {
    std::vector<std::string> found;
    std::ifstream mounts("/proc/self/mounts");
    for (std::string source, path, rest; mounts >> source >> path && std::getline(mounts, rest);)
        if (path.rfind(directory.string() + '/', 0) == 0) found.push_back(path);
    return found;
}

void TransportServer::unmount(const std::string& mountPoint) {
    if (::umount2(mountPoint.c_str(), MNT_DETACH) != 0)
        Program({"-uz", mountPoint}, Program::Output::Piped, "/usr/bin/fusermount3").waitForExit();
}

bool TransportServer::isMounted() const {
    const std::vector<std::string> all = mountPointsIn(m_mountPoint.parent_path());
    return std::find(all.begin(), all.end(), m_mountPoint) != all.end();
}
