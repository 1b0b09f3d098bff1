#include "Watch.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <vector>

namespace bench {
namespace {

int openSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
    sigset_t blocked = signals;
    sigaddset(&blocked, SIGPIPE);
    ::sigprocmask(SIG_BLOCK, &blocked, nullptr);
    return ::signalfd(-1, &signals, SFD_CLOEXEC);
}

int millisecondsUntil(Watch::Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Watch::Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, 1'000'000));
}

}  // namespace

Watch::Watch() : m_signals(openSignals()) {}

Watch::~Watch() {
    ::close(m_signals);
}

Watch::Event Watch::waitUntil(Clock::time_point deadline, std::initializer_list<const Process*> processes) const {
    std::vector<pollfd> descriptors{{m_signals, POLLIN, 0}};
    for (const Process* process : processes) descriptors.push_back({process->descriptor(), POLLIN, 0});
    do {
        if (::poll(descriptors.data(), descriptors.size(), millisecondsUntil(deadline)) <= 0) continue;
        return descriptors[0].revents != 0 ? Event::Interrupted : Event::ProcessEnded;
    } while (Clock::now() < deadline);
    return Event::DeadlinePassed;
}

}  // namespace bench
