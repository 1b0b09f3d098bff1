#include "shell/TerminalSignals.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

namespace util::shell {
namespace {

// What the handlers use.
termios stateBefore;
std::atomic<bool> lineIsRead;
std::atomic<bool> resized;
std::atomic<bool> stopped;
std::atomic<bool> resumed;
int wakeUp = -1;  // without it a signal is seen with the next key only

// The action that the signal has without a handler follows as soon as this returns.
void restoreTerminal(int signal) {
    const int error = errno;
    ::tcsetattr(STDIN_FILENO, TCSANOW, &stateBefore);
    (void)::raise(signal);
    errno = error;
}

void restoreTerminalAtEnd() {
    if (lineIsRead) ::tcsetattr(STDIN_FILENO, TCSANOW, &stateBefore);
}

void wakeReader(int signal) {
    const int error = errno;
    (signal == SIGWINCH ? resized : signal == SIGTSTP ? stopped : resumed) = true;
    (void)::eventfd_write(wakeUp, 1);
    errno = error;
}

bool wakes(int signal) {
    return signal == SIGWINCH || signal == SIGTSTP || signal == SIGCONT;
}

}  // namespace

TerminalSignals::TerminalSignals()
    : m_handled{
          {{SIGINT, {}}, {SIGQUIT, {}}, {SIGHUP, {}}, {SIGTERM, {}}, {SIGTSTP, {}}, {SIGCONT, {}}, {SIGWINCH, {}}}} {
    if (wakeUp < 0) wakeUp = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    static const int registered = std::at_quick_exit(&restoreTerminalAtEnd);
    (void)registered;
    (void)::tcgetattr(STDIN_FILENO, &stateBefore);
    lineIsRead = true;
    for (auto& [signal, before] : m_handled) {
        (void)::sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN) handle(signal);
    }
}

TerminalSignals::~TerminalSignals() {
    lineIsRead = false;
    for (const auto& [signal, before] : m_handled) (void)::sigaction(signal, &before, nullptr);
}

TerminalSignals::Event TerminalSignals::wait() {
    for (;;) {
        if (stopped.exchange(false)) return Event::Stop;
        if (resumed.exchange(false)) return Event::Resumed;
        if (resized.exchange(false)) return Event::Resized;
        pollfd sources[]{{STDIN_FILENO, POLLIN, 0}, {wakeUp, POLLIN, 0}};
        if (::poll(sources, 2, -1) <= 0) continue;
        if (sources[1].revents == 0) return Event::Key;
        eventfd_t count = 0;
        (void)::eventfd_read(wakeUp, &count);
    }
}

void TerminalSignals::stop() {
    (void)std::signal(SIGTSTP, SIG_DFL);
    (void)::raise(SIGTSTP);
    handle(SIGTSTP);
    resumed = false;
}

void TerminalSignals::handle(int signal) {
    struct sigaction action {};
    action.sa_handler = wakes(signal) ? &wakeReader : &restoreTerminal;
    action.sa_flags = static_cast<int>(wakes(signal) ? SA_RESTART : SA_RESETHAND);
    (void)::sigfillset(&action.sa_mask);  // with SIGTTOU blocked a process in the background restores the terminal too
    (void)::sigaction(signal, &action, nullptr);
}

}  // namespace util::shell
