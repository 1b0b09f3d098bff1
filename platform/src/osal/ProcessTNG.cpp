#include "osal/common/ProcessTNG.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "osal/common/Error.h"

namespace osal {
namespace {

// What the started side tells through the pipe: its id, and the error of the execution if that failed.
struct Report {
    pid_t process;
    int error;
};

// What follows runs in the child, where only what a signal handler may do is allowed: the other threads, and with them
// the holders of any lock, do not exist here.

// Where this process has no standard stream, the pipe may have taken its number.
int moveBehindStreams(const int (&pipe)[2]) {
    const int writer = ::fcntl(pipe[1], F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ::close(pipe[0]);
    ::close(pipe[1]);
    return writer;
}

void provideStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
        if (::fcntl(stream, F_SETFD, 0) != 0) (void)::open("/dev/null", O_RDWR);  // takes the lowest free number
}

// Libraries open sockets that started programs would inherit.
void closeOthersOnExecution() {
    if (::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) == 0) return;
    rlimit limit{};  // Linux before 5.11
    (void)::getrlimit(RLIMIT_NOFILE, &limit);
    for (int fd = STDERR_FILENO + 1; static_cast<rlim_t>(fd) < limit.rlim_cur && fd < INT_MAX; ++fd)
        (void)::fcntl(fd, F_SETFD, FD_CLOEXEC);
}

// The child ends at once, so the grandchild is the system's to wait for.
[[noreturn]] void startGrandchild(char* path, const int (&pipe)[2]) {
    const pid_t grandchild = ::fork();
    if (grandchild != 0) _exit(grandchild > 0 ? 0 : errno);

    const int pipeEnd = moveBehindStreams(pipe);
    provideStreams();
    closeOthersOnExecution();
    char* const arguments[] = {path, nullptr};
    Report report{::getpid(), 0};
    if (::write(pipeEnd, &report, sizeof report) == sizeof report) ::execv(path, arguments);
    report.error = errno;
    _exit(::write(pipeEnd, &report, sizeof report) == sizeof report ? 127 : 126);
}

ssize_t readReport(int pipeEnd, Report& report) {
    ssize_t count = 0;
    do count = ::read(pipeEnd, &report, sizeof report);
    while (count < 0 && errno == EINTR);
    return count;
}

int waitFor(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : ECHILD;
}

}  // namespace

ProcessTNG::ProcessTNG(const ipl::string& executable) {
    init();
    setExecutable(executable);
}

void ProcessTNG::init() {
    m_executable.clear();
}

void ProcessTNG::setExecutable(const ipl::string& path) {
    m_executable = path;
}

pid_t ProcessTNG::start() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        recordSystemError("starting " + m_executable, errno, __FILE__, __LINE__);
        return INVALID_PROCESS_ID;
    }
    const pid_t child = ::fork();
    if (child == 0) startGrandchild(m_executable.data(), ends);
    int error = child > 0 ? 0 : errno;
    ::close(ends[1]);
    if (error == 0) error = waitFor(child);

    // The second report comes only from a failed execution; a successful one closes the pipe.
    Report report{INVALID_PROCESS_ID, 0};
    if (error == 0 && readReport(ends[0], report) == sizeof report && readReport(ends[0], report) == sizeof report)
        error = report.error;
    ::close(ends[0]);

    if (error == 0) return report.process;
    recordSystemError("starting " + m_executable, error, __FILE__, __LINE__);
    return INVALID_PROCESS_ID;
}

}  // namespace osal
