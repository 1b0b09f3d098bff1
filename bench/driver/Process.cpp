#include "Process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace bench {
namespace {

void closeIfOpen(int& descriptor) {
    if (descriptor >= 0) ::close(descriptor);
    descriptor = -1;
}

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// Runs in the child. The parent may have ended before the child asked to end with it.
[[noreturn]] void execute(std::vector<std::string>& command, const std::string& runtimeDirectory, pid_t parent) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) _exit(127);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    if (!runtimeDirectory.empty())
        for (const char* variable : {"XDG_RUNTIME_DIR", "XDG_CONFIG_HOME"})
            ::setenv(variable, runtimeDirectory.c_str(), 1);

    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (std::string& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    ::execvp(arguments[0], arguments.data());
    std::fprintf(stderr, "executing %s: %s\n", arguments[0], std::strerror(errno));
    std::fflush(stderr);
    _exit(127);
}

}  // namespace

Process::~Process() {
    kill();
    wait();
    closeIfOpen(m_descriptor);
    closeIfOpen(m_input);
    closeIfOpen(m_output);
}

bool Process::start(std::vector<std::string> command, const std::string& runtimeDirectory) {
    m_output = ::memfd_create("output", MFD_CLOEXEC);
    int input[2];
    if (m_output < 0 || ::pipe2(input, O_CLOEXEC) != 0) return true;
    m_input = input[1];

    const pid_t parent = ::getpid();
    m_process = ::fork();
    ::setpgid(m_process, 0);  // on both sides, so that neither gets ahead of it
    if (m_process == 0) {
        ::dup2(input[0], STDIN_FILENO);
        ::dup2(m_output, STDOUT_FILENO);
        ::dup2(m_output, STDERR_FILENO);
        execute(command, runtimeDirectory, parent);
    }
    ::close(input[0]);
    if (m_process < 0) return true;
    m_descriptor = static_cast<int>(::syscall(SYS_pidfd_open, m_process, 0));
    return m_descriptor < 0;
}

bool Process::write(std::string_view text) const {
    ssize_t count = 0;
    do count = ::write(m_input, text.data(), text.size());
    while (count < 0 && errno == EINTR);
    return count != static_cast<ssize_t>(text.size());
}

void Process::closeInput() {
    closeIfOpen(m_input);
}

bool Process::hasEnded() const {
    pollfd end{m_descriptor, POLLIN, 0};
    return ::poll(&end, 1, 0) > 0;
}

// Without the check it would mean every process.
void Process::kill() const {
    if (m_process > 0) ::kill(-m_process, SIGKILL);
}

void Process::stop(std::chrono::milliseconds grace) const {
    if (m_process <= 0) return;
    ::kill(-m_process, SIGTERM);
    pollfd end{m_descriptor, POLLIN, 0};
    if (::poll(&end, 1, static_cast<int>(grace.count())) <= 0) kill();
}

Process::Exit Process::wait() {
    if (m_process <= 0) return m_exit;
    // The group is killed while nobody else can get its id.
    siginfo_t end{};
    while (::waitid(P_PID, static_cast<id_t>(m_process), &end, WEXITED | WNOWAIT) < 0 && errno == EINTR) {
    }
    kill();
    rusage usage{};
    while (::wait4(m_process, &m_exit.status, 0, &usage) < 0 && errno == EINTR) {
    }
    m_process = -1;
    m_exit.cpuSeconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    return m_exit;
}

std::string Process::output() const {
    std::string text;
    std::array<char, 4096> block{};
    ssize_t count = 0;
    while ((count = ::pread(m_output, block.data(), block.size(), static_cast<off_t>(text.size()))) > 0)
        text.append(block.data(), static_cast<std::size_t>(count));
    return text;
}

}  // namespace bench
