#include "Server.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>

#include "Mount.h"
#include "Receiver.h"
#include "StandardErrorCapture.h"

namespace transport {
namespace {

constexpr const char* Device = "/dev/fuse";
constexpr auto WakePatience = std::chrono::milliseconds(10);

// One takes from a writer while another gives to a reader. More than there are cores only get in each other's way, and
// each has a megabyte of its own.
std::size_t threadCount() {
    return std::clamp(std::thread::hardware_concurrency(), 2U, 4U);
}

sigset_t endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&signals, signal);
    return signals;
}

// A signal with a handler makes a thread return from its wait for the kernel.
void installWakeSignal() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    (void)::sigaction(SIGUSR1, &action, nullptr);
}

}  // namespace

Server::~Server() {
    joinThreads();
    m_files.abort();
    if (m_isMounted) fuse_session_unmount(m_session);
    if (m_session != nullptr) fuse_session_destroy(m_session);
}

void Server::blockSignals() {
    const sigset_t signals = endSignals();
    (void)::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    // Nobody may read the ready line any more, which is no reason to leave the mount point behind.
    (void)std::signal(SIGPIPE, SIG_IGN);
}

void Server::waitForEnd() {
    const sigset_t signals = endSignals();
    int signal = 0;
    (void)::sigwait(&signals, &signal);
}

bool Server::start(const MountPoint& mountPoint) {
    // The threads come before the mount, so that a start without them leaves none behind.
    if (makeSession(mountPoint.place()) || startThreads() || mount(mountPoint.directory())) return true;
    enter(Phase::Serving);
    return false;
}

bool Server::makeSession(std::uint64_t place) {
    const std::string options = "fsname=" + Mount::ownSource(place) + ",subtype=" + Mount::OwnSubtype;
    const char* words[] = {Mount::OwnSubtype, "-o", options.c_str()};
    fuse_args arguments = FUSE_ARGS_INIT(3, const_cast<char**>(words));
    m_session = fuse_session_new(&arguments, &FileSystem::operations(), sizeof(fuse_lowlevel_ops), &m_files);
    fuse_opt_free_args(&arguments);
    return m_session == nullptr && fail("the FUSE library does not start", "look at the lines above");
}

bool Server::startThreads() {
    installWakeSignal();
    int error = m_files.start();
    for (std::size_t i = threadCount(); i > 0 && error == 0; --i) {
        error = m_threads.emplace_back().start([this] { serve(); });
        if (error != 0) m_threads.pop_back();
    }
    const std::lock_guard lock(m_mutex);
    m_running = m_threads.size();
    return error != 0 && fail(std::string("a thread cannot be made: ") + std::strerror(error),
                              "allow this user more processes and memory (ulimit -u, ulimit -v), or end some programs");
}

bool Server::mount(const std::string& mountPoint) {
    const int device = ::open(Device, O_RDWR | O_CLOEXEC);
    if (device < 0 && errno == EACCES)
        return fail(std::string(Device) + ": " + std::strerror(errno),
                    "have it opened to this user (chmod 666 /dev/fuse), or run as root");
    if (device < 0)
        return fail(std::string(Device) + ": " + std::strerror(errno),
                    "load it (modprobe fuse), or give it to the container (--device /dev/fuse)");
    (void)::close(device);

    const StandardErrorCapture errors;
    m_isMounted = fuse_session_mount(m_session, mountPoint.c_str()) == 0;
    return !m_isMounted && fail("cannot mount on " + mountPoint + ": " + errors.text(),
                                "run as root, or as a user with the package fuse3 who may write to the mount point");
}

void Server::enter(Phase phase) {
    {
        const std::lock_guard lock(m_mutex);
        m_phase = phase;
    }
    m_changed.notify_all();
}

// Ends when the server does, or when the file system is gone; the main thread then is to know.
void Server::serve() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_phase != Phase::Starting; });
    if (m_phase == Phase::Serving) {
        lock.unlock();
        Receiver(m_session, m_buffers).run();
        (void)::kill(::getpid(), SIGTERM);
        lock.lock();
    }
    --m_running;
    m_changed.notify_all();
}

// A thread may be about to wait when it is woken, so it is woken until it has ended.
void Server::joinThreads() {
    if (m_session != nullptr) fuse_session_exit(m_session);
    enter(Phase::Ending);
    std::unique_lock lock(m_mutex);
    do {
        for (const Thread& thread : m_threads) thread.signal(SIGUSR1);
    } while (!m_changed.wait_for(lock, WakePatience, [this] { return m_running == 0; }));
    lock.unlock();
    for (Thread& thread : m_threads) thread.join();
}

bool Server::fail(const std::string& cause, const std::string& mend) {
    m_reason.append(cause).append(": ").append(mend);
    return true;
}

}  // namespace transport
